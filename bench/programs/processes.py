"""What a running process has used so far, as the kernel counts it."""

import os
import pathlib
import re


def processor_seconds(process_id):
    """Of all its threads, in user and kernel mode; counted in hundredths."""
    fields = pathlib.Path(f"/proc/{process_id}/stat").read_text().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def resident_bytes(process_id):
    status = pathlib.Path(f"/proc/{process_id}/status").read_text()
    return int(re.search(r"VmRSS:\s+(\d+)", status)[1]) * 1024
