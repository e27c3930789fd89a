"""peak_memory.py OUT COMMAND...: runs a command and writes its peak resident memory and its time."""

import json
import resource
import subprocess
import sys
import time

start = time.monotonic()
subprocess.run(sys.argv[2:], check=True, stdout=subprocess.DEVNULL)
usage = resource.getrusage(resource.RUSAGE_CHILDREN)
with open(sys.argv[1], "w", encoding="utf-8") as out:
    json.dump({"peak_kib": usage.ru_maxrss, "seconds": time.monotonic() - start}, out)
