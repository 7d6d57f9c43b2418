"""Serves a folder with nginx on the loopback interface."""

import os
import shutil
import socket
import subprocess
import time
from contextlib import contextmanager

CONFIGURATION = """{user}
daemon off;
pid "{scratch}/nginx.pid";
error_log "{scratch}/nginx.log";
worker_processes auto;
events {{ }}
http {{
    include /etc/nginx/mime.types;
    access_log off;
    sendfile on;
    client_body_temp_path "{scratch}/temp"; proxy_temp_path "{scratch}/temp"; fastcgi_temp_path "{scratch}/temp";
    uwsgi_temp_path "{scratch}/temp"; scgi_temp_path "{scratch}/temp";
    server {{
        listen 127.0.0.1:{port};
        location / {{ root "{folder}"; }}
    }}
}}
"""


@contextmanager
def served(folder, scratch):
    """Its URL, with a "/" at the end."""
    with socket.create_server(("127.0.0.1", 0)) as free:
        port = free.getsockname()[1]
    configuration = scratch / "nginx.conf"
    configuration.write_text(CONFIGURATION.format(user="user root;" if os.geteuid() == 0 else "", folder=folder,
                                                  scratch=scratch, port=port))
    program = shutil.which("nginx", path=f"{os.environ['PATH']}:/usr/sbin")
    server = subprocess.Popen([program, "-e", scratch / "nginx.log", "-c", configuration])
    try:
        for _ in range(100):
            with socket.socket() as client:
                if client.connect_ex(("127.0.0.1", port)) == 0:
                    break
            time.sleep(0.05)
        yield f"http://127.0.0.1:{port}/"
    finally:
        server.terminate()
        server.wait()
