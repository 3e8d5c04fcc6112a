"""Pages that come and go for some seconds: `come_and_go.py PRESET SECONDS`. For builds with sanitizers."""
import random
import socket
import sys
import time

from browser import Camhost

PATHS = ("/api/v1/stream", "/api/v1/channels/1/mjpeg", "/api/v1/channels", "/api/v1/channels/2/histogram",
         "/api/v1/channels/0/image.jpg", "/api/v1/channels/3/features", "/metrics", "/", "/nothing")


def main():
    host = Camhost(preset=sys.argv[1])
    port = int(host.base.rsplit(":", 1)[1])
    end, count, open_now = time.monotonic() + float(sys.argv[2]), 0, []
    while time.monotonic() < end and host.process.poll() is None:
        try:
            client = socket.create_connection(("127.0.0.1", port))
        except ConnectionRefusedError:
            break  # it has ended
        client.settimeout(0.2)
        request = (f"GET {random.choice(PATHS)} HTTP/1.1\r\nHost: 127.0.0.1:{port}\r\n"
                   f"Authorization: Bearer {host.token}\r\n\r\n").encode()
        try:
            client.sendall(request[:random.choice((len(request), len(request), 20))])
            client.recv(random.choice((1, 100000)))
        except OSError:
            pass  # it was one too many
        open_now.append(client)
        while len(open_now) > random.randrange(12):
            open_now.pop(random.randrange(len(open_now))).close()
        count += 1
    for client in open_now:
        client.close()
    time.sleep(1)
    fetched = None if host.process.poll() is not None else [c["fetched"] for c in host.json("channels")["channels"]]
    host.process.terminate()
    errors = host.process.communicate(timeout=60)[1]
    print(f"{count} connections, fetched {fetched}, exit code {host.process.returncode}\n{errors}", end="")
    sys.exit(host.process.returncode)


if __name__ == "__main__":
    main()
