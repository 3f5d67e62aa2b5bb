#!/usr/bin/env bash
# `brantle scan --as-administrator` through the real pkexec and polkitd, run by an unprivileged
# user: a rule that grants the helper's action lets the scan read a folder only root can read;
# a rule that refuses it ends the command with polkit's refusal; and pkexec asking for the
# password ends on the user's own signal (what giving up an administrator scan sends it).
#
# Needs root (to start a system bus and polkitd) and the pkexec and polkitd packages; skipped
# otherwise (exit 77). Everything it sets up — the system bus, polkit's actions and rules, the
# two users — lives in a private mount namespace, so the machine is left as it was.
#
# Usage: pkexec_scan.sh BRANTLE HELPER POLICY_TEMPLATE
set -euo pipefail

brantle=$1 helper=$2 template=$3
skip() { echo "SKIP: $*"; exit 77; }

if [ -z "${AMBREL_PKEXEC_NAMESPACE:-}" ]; then
    [ "$(id -u)" -eq 0 ] || skip "needs root to start a system bus and polkitd"
    for tool in pkexec /usr/lib/polkit-1/polkitd dbus-daemon dbus-send unshare setpriv script pgrep python3; do
        command -v "$tool" > /dev/null || skip "$tool is not installed (packages pkexec, polkitd)"
    done
    unshare --mount --propagation private true 2> /dev/null ||
        skip "cannot make a private mount namespace here"
    AMBREL_PKEXEC_NAMESPACE=1 exec unshare --mount --propagation private "$0" "$@"
fi

scratch=$(mktemp -d)
chmod 755 "$scratch"
pids=()
finish() {
    for pid in "${pids[@]}"; do kill "$pid" 2> /dev/null && wait "$pid" 2> /dev/null || true; done
    rm -rf "$scratch"
}
trap finish EXIT

fail() { echo "FAIL: $*"; exit 1; }

# Three users unknown to the machine, seen only in this namespace.
free_id() {
    local id=$1
    while getent passwd "$id" > /dev/null || getent group "$id" > /dev/null; do id=$((id + 1)); done
    echo "$id"
}
granted=$(free_id 42420)
refused=$(free_id $((granted + 1)))
asked=$(free_id $((refused + 1)))
cp /etc/passwd "$scratch/passwd"
cp /etc/group "$scratch/group"
for pair in "ambrel-granted:$granted" "ambrel-refused:$refused" "ambrel-asked:$asked"; do
    echo "${pair%%:*}:x:${pair#*:}:${pair#*:}::/nonexistent:/usr/sbin/nologin" >> "$scratch/passwd"
    echo "${pair%%:*}:x:${pair#*:}:" >> "$scratch/group"
done
mount --bind "$scratch/passwd" /etc/passwd
mount --bind "$scratch/group" /etc/group

# The helper's action names the built helper, as the installed policy names the installed one.
mkdir "$scratch/actions" "$scratch/rules"
cp /usr/share/polkit-1/actions/* "$scratch/actions/"
sed "s|@AMBREL_HELPER_PATH@|$helper|" "$template" > "$scratch/actions/app.ambrel.helper.policy"
cat > "$scratch/rules/50-ambrel-test.rules" << 'EOF'
polkit.addRule(function(action, subject) {
    if (action.id != "app.ambrel.helper") return polkit.Result.NOT_HANDLED;
    if (subject.user == "ambrel-granted") return polkit.Result.YES;
    if (subject.user == "ambrel-refused") return polkit.Result.NO;
    if (subject.user == "ambrel-asked") return polkit.Result.AUTH_ADMIN;
    return polkit.Result.NOT_HANDLED;
});
EOF
mount --bind "$scratch/actions" /usr/share/polkit-1/actions
mount --bind "$scratch/rules" /etc/polkit-1/rules.d

# A private system bus at the standard address (pkexec, being set-user-id, ignores any other).
mkdir -p /run/dbus
mount -t tmpfs -o mode=755 tmpfs /run/dbus
dbus-daemon --system --nofork &
pids+=($!)
/usr/lib/polkit-1/polkitd --no-debug > "$scratch/polkitd.log" 2>&1 &
pids+=($!)
for _ in $(seq 100); do
    dbus-send --system --print-reply --dest=org.freedesktop.DBus / \
        org.freedesktop.DBus.NameHasOwner string:org.freedesktop.PolicyKit1 2> /dev/null |
        grep -q 'boolean true' && break
    sleep 0.1
done

# A folder with a part only root can read.
tree="$scratch/tree"
mkdir -p "$tree/open" "$tree/secret"
head -c 70000 /dev/urandom > "$tree/open/a"
head -c 300000 /dev/urandom > "$tree/secret/b"
chmod 755 "$tree" "$tree/open"
chmod 644 "$tree/open/a"
chmod 700 "$tree/secret"
whole=$(du -s -B1 -x "$tree" | cut -f1)

as_user() {
    local id=$1
    shift
    setpriv --reuid="$id" --regid="$id" --clear-groups env -i PATH=/usr/bin:/bin "$@"
}
key() { python3 -c 'import json, sys; print(json.load(sys.stdin)[sys.argv[1]])' "$1"; }

regular=$(as_user "$granted" "$brantle" scan "$tree" --json | key bytes)
[ "$regular" -lt "$whole" ] || fail "the user's own scan read the root-only folder ($regular)"

if ! admin=$(as_user "$granted" "$brantle" scan "$tree" --as-administrator --helper "$helper" --json 2> "$scratch/err"); then
    cat "$scratch/err" "$scratch/polkitd.log"
    fail "the granted scan failed"
fi
[ "$(echo "$admin" | key bytes)" -eq "$whole" ] ||
    fail "the administrator scan counted $(echo "$admin" | key bytes) bytes, du $whole: $admin"
[ "$(echo "$admin" | key batches)" -ge 1 ] || fail "no batches: $admin"

status=0
as_user "$refused" "$brantle" scan "$tree" --as-administrator --helper "$helper" 2> "$scratch/err" || status=$?
[ "$status" -eq 1 ] || fail "the refused scan ended with $status"
grep -qx "brantle: the administrator helper isn't available (the authentication was refused)" \
    "$scratch/err" || fail "refused: $(cat "$scratch/err")"

# pkexec on a terminal asks for the password itself; it runs set-user-id root, yet its real
# user may signal it.
as_user "$asked" script -qec "pkexec $helper" /dev/null < /dev/null > "$scratch/asking" 2>&1 &
asking=$!
for _ in $(seq 100); do
    grep -q "Password:" "$scratch/asking" && break
    sleep 0.1
done
grep -q "Password:" "$scratch/asking" || fail "pkexec did not ask: $(cat "$scratch/asking")"
pkexec_pid=$(pgrep -u 0 -U "$asked" -x pkexec) || fail "no pkexec of the asked user"
as_user "$asked" kill -TERM "$pkexec_pid" || fail "the user cannot signal pkexec"
wait "$asking" || true
! kill -0 "$pkexec_pid" 2> /dev/null || fail "pkexec outlived the signal"

echo "pkexec: granted scan as root ($whole bytes), refused scan refused, asking pkexec signalled"
