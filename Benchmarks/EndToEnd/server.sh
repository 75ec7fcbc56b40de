# A plain web server on loopback that gives every question the same reply. Sourced by ./bench.

# Starts it with its files in a directory. Sets http_address, https_address, certificate, server_pid and
# network_ports: by protocols, those where it closes a connection that has been idle for a second.
start_server() {
  local directory=$1 reply=$2 ports nginx
  nginx=$(need_nginx)
  mkdir -p "$directory"
  certificate=$directory/certificate.pem
  openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -days 2 -subj /CN=localhost \
    -addext subjectAltName=IP:127.0.0.1 -keyout "$directory/key.pem" -out "$certificate" 2>/dev/null
  read -r -a ports < <(free_ports)
  http_address=http://127.0.0.1:${ports[0]}
  https_address=https://127.0.0.1:${ports[1]}
  declare -gA network_ports=([h1.tls12]=${ports[2]} [h2.tls12]=${ports[3]} [h1.tls13]=${ports[4]} [h2.tls13]=${ports[5]})
  cat >"$directory/locations" <<EOT
location = /api/v1/account/settings { return 200 '{"pellix":{"enabled":true}}'; }
location = /knowledge/v1/settings { return 200 '{"locale":"en-us"}'; }
location = /answers/v1/interactions { return 200 '$(sed "s/[\\\\']/\\\\&/g" <<<"$reply")'; }
EOT
  cat >"$directory/nginx.conf" <<EOT
$( ((EUID != 0)) || echo 'user nobody nogroup;')
worker_processes 1;
pid $directory/pid;
error_log $directory/error.log;
events { worker_connections 1024; }
http {
  access_log off;
  default_type application/json;
  keepalive_requests 100000000;
  keepalive_timeout 1h;
  http2_max_concurrent_streams 256;
  client_body_temp_path $directory/temporary;
  proxy_temp_path $directory/temporary;
  fastcgi_temp_path $directory/temporary;
  scgi_temp_path $directory/temporary;
  uwsgi_temp_path $directory/temporary;
  ssl_certificate $certificate;
  ssl_certificate_key $directory/key.pem;
  server {
    listen 127.0.0.1:${ports[0]};
    listen 127.0.0.1:${ports[1]} ssl http2;
    include $directory/locations;
  }
$(server_that_closes "${ports[2]}" "${ports[3]}" TLSv1.2)
$(server_that_closes "${ports[4]}" "${ports[5]}" TLSv1.3)
}
EOT
  # It listens when the command has ended.
  "$nginx" -e "$directory/error.log" -c "$directory/nginx.conf" || die "The server did not start."
  server_pid=$(<"$directory/pid")
}

# The configuration of one for HTTP/1.1 and one for HTTP/2, with a version of TLS.
server_that_closes() {
  cat <<EOT
  server {
    listen 127.0.0.1:$1 ssl;
    listen 127.0.0.1:$2 ssl http2;
    ssl_protocols $3;
    keepalive_timeout 1s;
    include $directory/locations;
  }
EOT
}

free_ports() {
  python3 -c 'import socket
sockets = [socket.create_server(("127.0.0.1", 0)) for _ in range(6)]
print(*(s.getsockname()[1] for s in sockets))'
}
