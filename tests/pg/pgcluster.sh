#!/usr/bin/env bash
# Throw-away PostgreSQL clusters for the database tests (docs/database.md).
#
#   pgcluster.sh start INFO_FILE   initdb in a new folder under /tmp (as the postgres system user
#                                  when run as root), start the server on 127.0.0.1 on a free port
#                                  and on a socket in that folder, create the test role (with a
#                                  password, scram over TCP) and the template database the tests
#                                  copy; write the connection facts to INFO_FILE (KEY=VALUE lines)
#   pgcluster.sh stop INFO_FILE    stop that cluster (if it still runs), remove its folder and
#                                  INFO_FILE; a missing INFO_FILE is not an error
#   pgcluster.sh stop-all DIR      stop every cluster described by a *.env file in DIR (the CTest
#                                  cleanup fixture: also sweeps private clusters of crashed tests)
set -euo pipefail

readonly ADMIN=pastrel_admin      # superuser, trusted on the socket only
readonly ROLE=pastrel_test        # what the tests log in as, with a password
readonly TEMPLATE=pastrel_template

die() {
    echo "pgcluster.sh: $*" >&2
    exit 1
}

# Debian's server binaries first (they are not on PATH), then whatever PATH offers.
find_bin() {
    local dir
    dir=$(ls -d /usr/lib/postgresql/*/bin 2>/dev/null | sort -V | tail -n 1 || true)
    if [ -n "$dir" ] && [ -x "$dir/initdb" ]; then
        echo "$dir"
        return
    fi
    if command -v pg_config >/dev/null && [ -x "$(pg_config --bindir)/initdb" ]; then
        pg_config --bindir
        return
    fi
    command -v initdb >/dev/null && dirname "$(command -v initdb)" && return
    die "no PostgreSQL server binaries (install the Debian package postgresql)"
}

# The server refuses to run as root: as root, run it as the postgres system user.
owner() {
    if [ "$(id -u)" -eq 0 ]; then
        id postgres >/dev/null 2>&1 || die "running as root but there is no postgres system user"
        echo postgres
    else
        id -un
    fi
}

as_owner() {
    local user=$1
    shift
    if [ "$(id -u)" -eq 0 ]; then
        runuser -u "$user" -- "$@"
    else
        "$@"
    fi
}

# Ports somebody already listens on (hex in /proc/net/tcp*), so we do not even try them.
port_in_use() {
    local hex
    hex=$(printf '%04X' "$1")
    cat /proc/net/tcp /proc/net/tcp6 2>/dev/null |
        awk -v p=":$hex" '$4 == "0A" && substr($2, length($2) - 4) == p { found = 1 }
                          END { exit !found }'
}

start() {
    [ -n "$1" ] || die "usage: pgcluster.sh start INFO_FILE"
    local info
    info=$(realpath -m "$1") # absolute: the start changes folder
    mkdir -p "$(dirname "$info")"
    [ -f "$info" ] && stop "$info" # a cluster left over by an interrupted run
    # A start that fails half-way stops and removes what it made.
    trap 'status=$?; [ "$status" -eq 0 ] || stop "'"$info"'" >/dev/null 2>&1; exit "$status"' EXIT

    local bin user dir password port started=0
    bin=$(find_bin)
    user=$(owner)
    # Short path under /tmp: a Unix socket path must stay under 108 bytes.
    dir=$(mktemp -d /tmp/pastrel-pg.XXXXXX)
    mkdir -p "$dir/socket"
    [ "$(id -u)" -eq 0 ] && chown -R "$user" "$dir"
    password=$(od -An -N12 -tx1 /dev/urandom | tr -d ' \n')
    # Written first, so that stop (and stop-all) can remove the folder even if the start fails.
    cat >"$info" <<EOF
PGT_DIR=$dir
PGT_BIN=$bin
PGT_OWNER=$user
EOF

    cd "$dir" # the postgres user may not be allowed into the caller's folder
    as_owner "$user" "$bin/initdb" -D "$dir/data" -U "$ADMIN" -E UTF8 --locale=C --no-sync \
        --no-instructions >"$dir/initdb.log" 2>&1 || {
        cat "$dir/initdb.log" >&2
        die "initdb failed"
    }
    # Socket: the superuser is trusted (set-up only); everybody else gives a password, as on TCP.
    cat >"$dir/data/pg_hba.conf" <<EOF
local all $ADMIN trust
local all all scram-sha-256
host all all 127.0.0.1/32 scram-sha-256
EOF
    cat >>"$dir/data/postgresql.conf" <<EOF
listen_addresses = '127.0.0.1'
unix_socket_directories = '$dir/socket'
password_encryption = 'scram-sha-256'
lc_messages = 'C'
max_connections = 40
shared_buffers = 16MB
fsync = off
synchronous_commit = off
full_page_writes = off
EOF

    local attempt
    for attempt in $(seq 1 20); do
        port=$((20000 + RANDOM % 40000))
        port_in_use "$port" && continue
        if as_owner "$user" "$bin/pg_ctl" -D "$dir/data" -l "$dir/server.log" -o "-p $port" \
            -w -t 60 start >/dev/null 2>&1; then
            started=1
            break
        fi
        # Another program may have taken the port between the check and the bind: try again.
        grep -q "could not bind\|could not create any TCP/IP sockets" "$dir/server.log" ||
            break
    done
    if [ "$started" -ne 1 ]; then
        cat "$dir/server.log" >&2 || true
        die "the server did not start (attempt $attempt)"
    fi
    echo "PGT_PORT=$port" >>"$info"

    local psql=("$bin/psql" -X -q -v ON_ERROR_STOP=1 -h "$dir/socket" -p "$port" -U "$ADMIN")
    "${psql[@]}" -d postgres >/dev/null <<EOF || die "could not create the test role"
CREATE ROLE $ROLE LOGIN CREATEDB PASSWORD '$password';
CREATE DATABASE $TEMPLATE OWNER $ROLE;
EOF
    # The template every test copies into a database of its own (tests/pgcluster.cpp).
    "${psql[@]}" -d "$TEMPLATE" >/dev/null <<'EOF' || die "could not create the test tables"
SET ROLE pastrel_test;
CREATE TABLE orders (id serial PRIMARY KEY, customer text NOT NULL DEFAULT 'walk-in',
                     total numeric(10,2) NOT NULL DEFAULT 0);
INSERT INTO orders (customer, total) VALUES ('Rossi', 12.50), ('Bianchi', 7.00),
                                            ('Verdi', 30.00);
CREATE TABLE items (id serial PRIMARY KEY, order_id integer, description text,
                    quantity integer NOT NULL DEFAULT 1);
INSERT INTO items (order_id, description, quantity) VALUES (1, 'Caffe', 2), (1, 'Cornetto', 1),
                                                           (2, NULL, 4);
CREATE TABLE customers (id serial PRIMARY KEY, name text);
CREATE TABLE payments (id serial PRIMARY KEY, amount numeric(10,2) NOT NULL);
INSERT INTO payments (amount) VALUES (5.00);
CREATE SEQUENCE receipt_number MINVALUE 0 START WITH 5;
CREATE SEQUENCE ticket_number START WITH 2;
EOF
    cat >>"$info" <<EOF
PGT_HOST=127.0.0.1
PGT_SOCKET=$dir/socket
PGT_USER=$ROLE
PGT_PASSWORD=$password
PGT_TEMPLATE=$TEMPLATE
EOF
}

# Reads one KEY of an info file without sourcing it.
info_value() {
    sed -n "s/^$2=//p" "$1" | tail -n 1
}

stop() {
    local info=$1
    [ -f "$info" ] || return 0
    local dir bin user
    dir=$(info_value "$info" PGT_DIR)
    bin=$(info_value "$info" PGT_BIN)
    user=$(info_value "$info" PGT_OWNER)
    if [ -n "$dir" ] && [ -d "$dir" ]; then
        if [ -f "$dir/data/postmaster.pid" ] && [ -n "$bin" ]; then
            (cd "$dir" && as_owner "$user" "$bin/pg_ctl" -D "$dir/data" -m fast -w -t 60 stop \
                >/dev/null 2>&1) || true
        fi
        case "$dir" in
        /tmp/pastrel-pg.*) rm -rf "$dir" ;;
        *) echo "pgcluster.sh: not removing unexpected folder $dir" >&2 ;;
        esac
    fi
    rm -f "$info"
}

stop_all() {
    local state=$1 info
    [ -d "$state" ] || return 0
    for info in "$state"/*.env; do
        [ -e "$info" ] && stop "$info"
    done
    return 0
}

case "${1:-}" in
start) start "${2:-}" ;;
stop) stop "${2:-}" ;;
stop-all) stop_all "${2:-}" ;;
*) die "usage: pgcluster.sh start|stop INFO_FILE | stop-all DIR" ;;
esac
