"""Compares the daily averages of a query with those computed here from an hourly CSV file.

The sample on a midnight belongs to both days. Usage: daily_averages.py FILE COLUMN ZONE <QUERY
where QUERY is what "nvx-timeseries query --interval 1d --format csv" printed in that zone.
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


averages = {}
day = datetime.datetime.fromtimestamp(min(samples), zone).date() + datetime.timedelta(1)
while midnight(day + datetime.timedelta(1)) <= max(samples):
    start, end = midnight(day), midnight(day + datetime.timedelta(1))
    values = [samples[time] for time in range(start, end + 1, 3600)]
    averages[start] = math.fsum(values) / len(values)
    day += datetime.timedelta(1)

points = list(csv.DictReader(sys.stdin))
assert [int(point["timestamp"]) for point in points] == list(averages), "other days"
assert all(point["quality"] == "good" for point in points), "not all are good"
differences = [abs(float(point["value"]) - averages[int(point["timestamp"])]) for point in points]
print(f"{len(points)} daily averages of {column} in {zone_name}, "
      f"largest difference {max(differences):.2g}")
assert len(points) > 360 and all(difference < 1e-9 for difference in differences)
