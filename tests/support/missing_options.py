"""Prints the options that a manual lacks in the section of their command, and the commands that it has no
example for: missing_options.py PROGRAM MANUAL"""
import re
import subprocess
import sys

program, manual = sys.argv[1:]


def read_help(*command):
    return subprocess.run([program, *command, "--help"], capture_output=True, text=True, check=True).stdout


def find_options(help):
    return re.findall(r"^ +(?:-\w, *)?(--[a-z-]+)", help, re.MULTILINE)


with open(manual) as file:
    text = re.sub(r"\\f.", "", file.read().replace("\\-", "-"))
parts = dict(re.findall(r"^\.S[HS] (.*)\n([^\0]*?)(?=^\.S[HS]|\Z)", text, re.MULTILINE))
commands = re.findall(r"^  ([a-z]+) ", re.split("(?i)\nSUBCOMMANDS:\n", read_help())[1], re.MULTILINE)
assert len(commands) > 5

options = [("OPTIONS", option) for option in find_options(read_help())]
for command in commands:
    options += [(command, option) for option in find_options(read_help(command)) if option != "--help"]
for part, option in options:
    if not re.search(re.escape(option) + r"(?![\w-])", parts.get(part, "")):
        print(part, option)
for command in commands:
    if not re.search(rf"^.*nvx-timeseries {command} ?", parts["EXAMPLES"], re.MULTILINE):
        print("no example of", command)
