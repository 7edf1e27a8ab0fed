# SPDX-FileCopyrightText: 2026 The NodeDB authors
# SPDX-License-Identifier: MIT
# shellcheck shell=bash
#
# The real servers around the lab's devices: an Avahi on a bus of its own on either side of the segment, and what smbd
# asks of the machine. tools/lab reads this file; where a service cannot be had, it goes on without. Of tools/lab it uses
# remark, here, mode, services (each with a blank before it) and serve (how lab-device is started).
# shellcheck disable=SC2154

declare -A k_programs=(
  [avahi]="dbus-daemon avahi-daemon avahi-publish"
  [smb]="python3 smbd smbpasswd"
)

# Adds a service to those that COMMAND finds in LAB_WITHOUT.
do_without() {
  [[ " ${LAB_WITHOUT:-} " != *" $1 "* ]] || return 0
  export LAB_WITHOUT=${LAB_WITHOUT:+$LAB_WITHOUT }$1
  remark "without $1: $2"
}

# Takes what lab-device --needs says; leaves in services what can be had of it.
choose_services() {
  local service program
  for service in $1; do
    [[ $mode == segment ]] || do_without "$service" "there are no namespaces"
    for program in ${k_programs[$service]}; do
      command -v "$program" >/dev/null || do_without "$service" "the program $program is missing"
    done
    [[ " $LAB_WITHOUT " == *" $service "* ]] || services+=" $service"
  done
}

needs() {
  [[ "$services " == *" $1 "* ]]
}

# A view of the machine in which /run is empty, nothing of its Avahi and Samba shows, and the only users are those that
# servers ask for. What is written there goes with the namespace.
own_view() (
  dir=$1
  cd "$dir" || return
  mount -t tmpfs -o mode=755 tmpfs /run || return
  # The folder of the lab stays where it is even when that is below /run.
  [[ -d $dir ]] || { mkdir -p "$dir" && mount --no-canonicalize --bind . "$dir"; } || return
  for folder in /etc/avahi /var/{lib,cache,log}/samba; do
    [[ ! -d $folder ]] || mount -t tmpfs tmpfs "$folder" || return
  done
  printf '%s:x:%s::/:/bin/false\n' root 0:0 avahi 0:0 nobody 65534:65534 >/run/passwd
  printf '%s:x:%s:\n' root 0 avahi 0 nogroup 65534 >/run/group
  mount --bind /run/passwd /etc/passwd && mount --bind /run/group /etc/group
)

# The address of the bus at a path.
bus_at() {
  local LC_ALL=C out='' character i
  for ((i = 0; i < ${#1}; ++i)); do
    character=${1:i:1}
    [[ $character == [A-Za-z0-9/._-] ]] || printf -v character '%%%02x' "'$character"
    out+=$character
  done
  echo "unix:path=$out"
}

# An Avahi named $1 on the interface $2 and on a bus of its own at $3; both run on their own from then on.
start_avahi() {
  DBUS_SYSTEM_BUS_ADDRESS=$(bus_at "$3")
  export DBUS_SYSTEM_BUS_ADDRESS
  cat >/run/bus.conf <<EOT
<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>system</type>
  <listen>$DBUS_SYSTEM_BUS_ADDRESS</listen>
  <auth>EXTERNAL</auth>
  <limit name="max_completed_connections">4096</limit>
  <limit name="max_connections_per_user">4096</limit>
  <policy context="default">
    <allow user="*"/><allow own="*"/><allow send_type="*" send_destination="*"/><allow receive_type="*"/>
  </policy>
</busconfig>
EOT
  cat >/run/avahi.conf <<EOT
[server]
host-name=$1
use-ipv4=yes
use-ipv6=no
allow-interfaces=$2
[publish]
publish-addresses=no
publish-hinfo=no
publish-workstation=no
EOT
  dbus-daemon --config-file=/run/bus.conf --fork --nosyslog && run_avahi
}

run_avahi() {
  avahi-daemon --file=/run/avahi.conf --daemonize --no-drop-root --no-chroot --no-rlimits --no-proc-title
}

# The near side's Avahi, and its restarts when somebody asks for one: in a process and a view of their own.
near() {
  trap '' INT QUIT
  local dir=$1
  if ! { own_view "$dir" && mkfifo "$dir/near.ask" "$dir/near.told" && start_avahi lab-near near "$dir/near.bus"; }; then
    echo failed
    exit
  fi
  echo up
  exec >/dev/null
  while read -r _ <"$dir/near.ask"; do
    if avahi-daemon --kill && run_avahi; then echo ok; else echo failed; fi >"$dir/near.told"
  done
}

# What the far side can do; adds to serve what lab-device is to be told, and says what it cannot do.
prepare_services() {
  local dir=$1 size
  [[ -n $services ]] || return 0
  if ! own_view "$dir"; then
    # shellcheck disable=SC2086  # one line for each
    printf 'without %s no mounts in a namespace\n' $services
    return
  fi
  if needs avahi; then
    # An address that no scan of the segment asks for: what Avahi says is about the devices' addresses.
    if ip addr add 169.254.77.1/32 dev far && start_avahi lab-far far /run/far.bus; then
      serve+=(--bus "$DBUS_SYSTEM_BUS_ADDRESS")
    else
      echo "without avahi it did not start on the far side"
    fi
  fi
  if needs smb; then
    read -r _ _ size </proc/self/uid_map
    if ((size > 65536)); then
      serve+=(--smb-server "$here/smb-server" --shares /run)
    else
      echo "without smb it takes several users, which a user's namespace has not"
    fi
  fi
} 2>/dev/null
