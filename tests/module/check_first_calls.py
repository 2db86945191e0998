"""First calls by many threads at once, in fresh processes: every one of them is served.

Usage: check_first_calls.py PROGRAM COUNT
"""
import subprocess
import sys

program, count = sys.argv[1], int(sys.argv[2])
for number in range(count):
    run = subprocess.run([program, "--gtest_filter=Concurrency.FirstServiceCalls"], capture_output=True, text=True)
    if run.returncode != 0:
        sys.exit(f"process {number}:\n{run.stdout}{run.stderr}")
