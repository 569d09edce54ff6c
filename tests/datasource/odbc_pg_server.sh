#!/bin/sh
# Starts or stops a throw-away PostgreSQL server for the ODBC tests and benchmarks.
#   odbc_pg_server.sh start FOLDER PORT [TEMPLATE]
#                                         initdb in FOLDER/data, listen on 127.0.0.1:PORT;
#                                         with TEMPLATE, a cluster made once there is copied
#   odbc_pg_server.sh stop FOLDER         stop it (the caller removes FOLDER)
# The superuser is "rowquill" with trust authentication on the loopback address.
# PostgreSQL refuses to run as root, so as root the server runs as "nobody".
set -eu

bindir=""
for d in /usr/lib/postgresql/*/bin; do
    if [ -x "$d/initdb" ] && [ -x "$d/pg_ctl" ]; then bindir="$d"; fi
done
if [ -z "$bindir" ]; then
    echo "PostgreSQL server programs not found" >&2
    exit 3
fi

as_owner() {
    if [ "$(id -u)" -eq 0 ]; then
        runuser -u nobody -- "$@"
    else
        "$@"
    fi
}

cmd="${1:-}"
folder="${2:-}"
[ -n "$folder" ] || { echo "usage: $0 start|stop FOLDER [PORT]" >&2; exit 2; }

case "$cmd" in
start)
    port="${3:?port missing}"
    mkdir -p "$folder"
    if [ "$(id -u)" -eq 0 ]; then chown nobody "$folder"; fi
    chmod 700 "$folder"
    template="${4:-}"
    if [ -n "$template" ] && [ ! -d "$template/data" ]; then
        # Made aside and renamed, so that test programs running side by side agree.
        staging="$template.$$"
        rm -rf "$staging"
        mkdir -p "$staging"
        if [ "$(id -u)" -eq 0 ]; then chown nobody "$staging"; fi
        if as_owner "$bindir/initdb" -D "$staging/data" -U rowquill --auth=trust -N \
            --encoding=UTF8 --locale=C >"$folder/initdb.log" 2>&1; then
            mkdir -p "$(dirname "$template")"
            mv -T "$staging" "$template" 2>/dev/null || rm -rf "$staging"
        else
            rm -rf "$staging"
        fi
    fi
    if [ -n "$template" ] && [ -d "$template/data" ]; then
        cp -a "$template/data" "$folder/data"
    else
        as_owner "$bindir/initdb" -D "$folder/data" -U rowquill --auth=trust -N \
            --encoding=UTF8 --locale=C >"$folder/initdb.log" 2>&1 || {
            cat "$folder/initdb.log" >&2
            exit 1
        }
    fi
    as_owner "$bindir/pg_ctl" -D "$folder/data" -l "$folder/server.log" -w -t 30 \
        -o "-c listen_addresses=127.0.0.1 -c port=$port -c unix_socket_directories=$folder \
            -c fsync=off -c synchronous_commit=off -c full_page_writes=off" \
        start >/dev/null || {
        cat "$folder/server.log" >&2
        exit 1
    }
    ;;
stop)
    as_owner "$bindir/pg_ctl" -D "$folder/data" -m immediate -w stop >/dev/null 2>&1 || true
    ;;
*)
    echo "usage: $0 start|stop FOLDER [PORT]" >&2
    exit 2
    ;;
esac
