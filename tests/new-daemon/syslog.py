#!/usr/bin/env python3
"""syslog.py SOCKET: prints what comes to syslog, as "PRIORITY TEXT", where the priority is info or err."""
import os
import re
import socket
import sys

receiver = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
receiver.bind(sys.argv[1])
os.chmod(sys.argv[1], 0o666)
while True:
    message = receiver.recv(1000).decode()
    priority, text = re.fullmatch(r"<(30|27)>.*? pump-1d\[\d+\]: (.*?)\n?", message).groups()
    print({"30": "info", "27": "err"}[priority], text, flush=True)
