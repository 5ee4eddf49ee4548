# shellcheck shell=bash
# The private machine where namespaces are refused: a folder with copies of all that the command may need, into which it is
# put by chroot, removed afterwards. A part of script/machine: run_in_copy is called there, and its variables own, laid,
# seen, command and folder say what to do.

# What the module runs, and what a test or a person at the private machine's shell may want besides.
tools=(sh cp mv rm cat tail grep sed awk wc sort
  bash chmod cmp cut date diff env false find head id ln ls mkdir mkfifo od readlink rmdir seq setpriv setsid sleep socat
  stat tee test touch tr true umount uniq)

# umount looks things up in /proc, which the copy has even where this machine has none.
remove_copy() {
  chroot "$1" umount --lazy /dev/{null,zero,full,random,urandom,tty} /proc 2>/dev/null || true
  rm -rf --one-file-system "$1"
}

# Fills the folder $copy with copies of all that the command may need.
make_copy() {
  local device each loader path
  umask 022
  cd "$copy"
  for each in /*; do  # /bin and its like are links into /usr on many systems
    if [[ -L $each && -d $each ]]; then
      cp -P "$each" .
      mkdir -p ".$(realpath "$each")"
    fi
  done

  for each in "${tools[@]}" "${command[0]}"; do
    if path=$(type -P -- "$each"); then printf '%s\0' "$path"; fi
  done >programs
  for path in /usr/lib/locale/C.utf8 /etc/{passwd,group,nsswitch.conf,hosts,localtime,ld.so.cache}; do
    if [[ -e $path ]]; then printf '%s\0' "$path"; fi
  done >others
  for path in "${seen[@]}"; do
    if [[ -f $path/CMakeCache.txt ]]; then
      find "$path" -name CMakeFiles -prune -o -type f \( -perm /111 -o -name '*.so*' \) -print0 >>programs
    fi
    find "$path" \( -name CMakeFiles -o -name .git -o -path "$root/build" \) -prune -o -type f -size -512k \
      ! -name '*.[ao]' -print0 >>others
  done
  loader=$(ldd "$(type -P sh)" | sed -nE 's/^\t(\/.*) \(0x.*/\1/p')
  { xargs -0 -n 1 "$loader" --list <programs 2>/dev/null || true; } |
    sed -nE "s|^\t(.* => )?(/.*) \(0x[0-9a-f]+\)\$|\2|; T; s|^/lib|$(realpath /lib)|; p" | tr '\n' '\0' >libraries
  sort -zu programs libraries others | xargs -0 cp -rL --parents -t .
  rm programs libraries others

  mkdir -p proc run dev/shm dev/pts "${own[@]/#/.}" ".$folder"
  chmod 1777 tmp dev/shm
  mount -t proc proc proc 2>/dev/null || true
  for device in 'null c 1 3' 'zero c 1 5' 'full c 1 7' 'random c 1 8' 'urandom c 1 9' 'tty c 5 0'; do
    # shellcheck disable=SC2086
    if mknod dev/$device 2>/dev/null; then chmod 0666 "dev/${device%% *}"; fi
  done
  if ! { : <dev/null; } 2>/dev/null; then  # no right to make devices, or they do not work on this file system
    for each in null zero full random urandom tty; do
      rm -f "dev/$each" && : >"dev/$each"
      mount --bind "/dev/$each" "dev/$each" 2>/dev/null || fail "no way to have /dev/$each in $copy: mknod and mount fail" 125
    done
  fi
  for each in "${!laid[@]}"; do
    mkdir -p ".${laid[each]%/*}"
    content "$each" >".${laid[each]}"
  done
}

run_in_copy() {
  local base=${TMPDIR:-/var/tmp} child lock status=0
  # Whoever holds the lock of a copy is alive; a copy without one was left by a run that was killed.
  find "$base" -maxdepth 1 -name 'kestrune-machine.*' -mmin +1 | while read -r copy; do
    if flock -n "$copy" true; then remove_copy "$copy"; fi
  done
  copy=$(mktemp -d "$base/kestrune-machine.XXXXXX")
  exec {lock}<"$copy"
  flock "$lock"
  trap 'remove_copy "$copy"' EXIT
  trap 'exit 143' TERM HUP  # when it comes early, the copies are made first
  trap 'exit 130' INT
  chmod 755 "$copy"
  (make_copy)
  close_inherited "$lock"
  unset TMPDIR KESTRUNE_MACHINE_TIED
  setpriv --pdeathsig KILL chroot "$copy" env --chdir="$folder" --default-signal=INT,QUIT -- "${command[@]}" <&0 \
    {lock}<&- &
  child=$!
  trap 'kill -s TERM "$child" 2>/dev/null || true' TERM HUP
  trap 'kill -s INT "$child" 2>/dev/null || true' INT
  while kill -0 "$child" 2>/dev/null; do  # a signal ends a wait early
    wait "$child" 2>/dev/null || true
  done
  wait "$child" 2>/dev/null || status=$?
  exit "$status"
}
