#!/usr/bin/python3
"""Serves one file at http://127.0.0.1:PORT/room.mkv, whole or from an offset on.

    http_server.py FILE [BYTES]    prints the port once it listens; the first answer breaks off
                                   after so many bytes
"""
import http.server
import sys

content = open(sys.argv[1], "rb").read()
cut = [int(sys.argv[2])] if len(sys.argv) > 2 else []


class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def do_GET(self):
        start = 0
        wanted = self.headers.get("Range", "")
        if wanted.startswith("bytes="):
            start = int(wanted[6:].split("-")[0])
        if start >= len(content):
            self.send_error(416)
            return
        self.send_response(206 if wanted else 200)
        self.send_header("Content-Length", str(len(content) - start))
        self.send_header("Accept-Ranges", "bytes")
        self.send_header("Content-Range", f"bytes {start}-{len(content) - 1}/{len(content)}")
        self.end_headers()
        end = start + cut.pop() if cut else len(content)
        try:
            self.wfile.write(content[start:end])
        except OSError:
            pass  # the client has gone
        self.close_connection = True

    def log_message(self, *_):
        pass


server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
print(server.server_port, flush=True)
server.serve_forever()
