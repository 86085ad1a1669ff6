"""Prints two UDP ports that the kernel reports free now: a test build links to the MCU over them,
so that test runs side by side on one machine bind different ports."""
import socket

sockets = [socket.socket(socket.AF_INET, socket.SOCK_DGRAM) for _ in range(2)]
for s in sockets:
    s.bind(("127.0.0.1", 0))
print(*(s.getsockname()[1] for s in sockets))
