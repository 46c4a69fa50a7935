#!/bin/bash
# lighttpd.sh ROOT FOLDER ADDRESS LAN HTTPS HTTP
# Runs lighttpd in front of a private root, with the shipped configuration and what its
# administrator adapts: the user is admin, the password secret. What belongs to the server lies in
# FOLDER, as well as the environment that a request's program had.
set -euo pipefail
root=$1 folder=$2
declare -A values=([address]=$3 [lan]=$4 [https]=$5 [http]=$6 [pages]=$root/www
    [program]=$folder/enter [private]=$folder)

openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -subj /CN=box \
    -keyout "$folder/server.pem" -out "$folder/server.pem" 2>"$folder/openssl"
echo "admin:$(openssl passwd -6 secret)" >"$folder/passwd"
# The program in its root, in the folder in which the server has started it.
cat >"$folder/enter" <<END
#!/bin/bash
env >$folder/environment
exec unshare $( ((EUID == 0)) || echo --user --map-root-user) --root=$root \
    --wd="\${PWD#$root}" /usr/lib/quillstead/nat.cgi
END
chmod 755 "$folder/enter"

text=$(<"${0%/*}/../../deploy/lighttpd.conf")
for name in "${!values[@]}"; do
    [[ $text =~ $'\n'(var\.$name\ [^$'\n']*) ]]
    text=${text/"${BASH_REMATCH[1]}"/"var.$name = \"${values[$name]}\""}
done
echo "$text" >"$folder/lighttpd.conf"
if ! complaints=$(/usr/sbin/lighttpd -tt -f "$folder/lighttpd.conf" 2>&1) || [[ $complaints ]]; then
    echo "$complaints" >&2
    exit 1
fi
exec /usr/sbin/lighttpd -D -f "$folder/lighttpd.conf"
