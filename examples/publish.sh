#!/bin/sh
# Publishes a copy of the example catalogue on this machine and breaks it: check, export, serve, verify, diff.
# It needs catalist-cli and nginx, and leaves nothing behind.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
PATH=$PATH:/usr/sbin
work=$(mktemp -d)
cd "$work"
port=${PORT:-8765}
url=http://127.0.0.1:$port/
trap 'kill "$(cat nginx.pid)" 2>/dev/null || true; cd /; rm -rf "$work"' EXIT

echo "== Check the catalogue"
cp -R "$here/catalogue" publish
catalist-cli check publish --strict

echo "== Export its index"
catalist-cli export publish --url "$url" --output publish/Apps.json
cp publish/Apps.json last-release.json

cat >nginx.conf <<END
$([ "$(id -u)" != 0 ] || echo 'user root;')
pid $work/nginx.pid;
error_log $work/error.log;
events { }
http {
    include /etc/nginx/mime.types;
    access_log off;
    client_body_temp_path temp; proxy_temp_path temp; fastcgi_temp_path temp; uwsgi_temp_path temp; scgi_temp_path temp;
    server {
        listen 127.0.0.1:$port;
        root $work/publish;
    }
}
END
nginx -e error.log -p "$work" -c nginx.conf

echo "== Verify what is served"
catalist-cli verify "$url"

echo "== A file is cut off"
head -c 100 publish/Altimeter/main.lua >part
mv part publish/Altimeter/main.lua
catalist-cli verify "$url" && exit 1

echo "== Compare with the last release"
catalist-cli export publish --url "$url" --output publish/Apps.json >/dev/null
catalist-cli diff last-release.json "${url}Apps.json" && exit 1
exit 0
