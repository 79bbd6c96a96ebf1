"""Prints "timestamp,average" for every complete local day of a column of an hourly CSV file.

The sample on a midnight belongs to both days. Usage: daily_averages.py FILE COLUMN ZONE
"""
import csv
import datetime
import math
import sys
import zoneinfo

path, column, zone_name = sys.argv[1:]
zone = zoneinfo.ZoneInfo(zone_name)
with open(path, newline="") as file:
    samples = {int(row["timestamp"]): float(row[column]) for row in csv.DictReader(file)}


def midnight(day):
    return int(datetime.datetime.combine(day, datetime.time(), zone).timestamp())


day = datetime.datetime.fromtimestamp(min(samples), zone).date() + datetime.timedelta(1)
while midnight(day + datetime.timedelta(1)) <= max(samples):
    start, end = midnight(day), midnight(day + datetime.timedelta(1))
    values = [samples[time] for time in range(start, end + 1, 3600)]
    print(f"{start},{math.fsum(values) / len(values)!r}")
    day += datetime.timedelta(1)
