#!/usr/bin/env bash
# Pings a second that the agent server answers over 1 and 16 kept connections, and nginx's static
# reply of the same bytes to the same requests, in turns. The aim: half of nginx or more.
set -euo pipefail
cd "$(dirname "$0")/.."
program=${1:-build/release/bin/agent_ping}
rounds=${rounds:-7}
seconds=${seconds:-1}
scratch=$(mktemp -d)
started=()
finish() {
  for pid in "${started[@]}"; do kill "$pid" 2>/dev/null || true; done
  wait
  rm -rf "$scratch"
}
trap finish EXIT

nginx_port=$(python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])')
cat >"$scratch/nginx.conf" <<CONF
worker_processes 1;
daemon off;
pid $scratch/nginx.pid;
error_log $scratch/error.log;
events { worker_connections 256; }
http {
  access_log off;
  keepalive_requests 1000000000;
  client_body_temp_path $scratch/body;
  proxy_temp_path $scratch/proxy;
  fastcgi_temp_path $scratch/fastcgi;
  uwsgi_temp_path $scratch/uwsgi;
  scgi_temp_path $scratch/scgi;
  server {
    listen 127.0.0.1:$nginx_port;
    location = /mcp {
      default_type application/json;
      return 200 '{"jsonrpc":"2.0","id":1,"result":{}}';
    }
  }
}
CONF
/usr/sbin/nginx -p "$scratch" -c "$scratch/nginx.conf" 2>/dev/null &
started+=($!)
mkfifo "$scratch/in" "$scratch/out"
"$program" serve <"$scratch/in" >"$scratch/out" &
started+=($!)
exec 3>"$scratch/in"
read -r port token <"$scratch/out"
until "$program" load "$nginx_port" 1 0.01 x >/dev/null 2>&1; do sleep 0.05; done

median() { sort -n | awk '{all[NR] = $1} END {print all[int((NR + 1) / 2)]}'; }
for connections in 1 16; do
  : >"$scratch/ours"
  : >"$scratch/nginx"
  for _ in $(seq "$rounds"); do
    "$program" load "$port" "$connections" "$seconds" "$token" >>"$scratch/ours"
    "$program" load "$nginx_port" "$connections" "$seconds" "$token" >>"$scratch/nginx"
  done
  ours=$(median <"$scratch/ours")
  theirs=$(median <"$scratch/nginx")
  awk -v n="$connections" -v o="$ours" -v t="$theirs" \
    'BEGIN {printf "ping, %2d connections: %6d a second, nginx %6d, ratio %.2f\n", n, o, t, o / t}'
done
