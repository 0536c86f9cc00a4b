"""A reference time server for the Windows service tests, on 127.0.0.1 at the port given: it
answers every 48-byte request with the present time, and ends after a thousand requests."""
import socket
import struct
import sys
import time

server = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
server.bind(("127.0.0.1", int(sys.argv[1])))
for _ in range(1000):
    data, peer = server.recvfrom(512)
    if len(data) < 48:
        continue
    now = time.time() + 2208988800
    stamp = struct.pack("!II", int(now), int((now % 1) * 2**32))
    reply = bytes([0x24, 2, 0, 0xEC]) + bytes(8) + b"LOCL" + stamp + data[40:48] + stamp + stamp
    server.sendto(reply, peer)
