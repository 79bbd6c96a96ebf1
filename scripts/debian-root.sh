# For scripts that need a Debian system of their own, in a directory under build/. The machine's packages and
# settings are not changed. To be sourced.

# Whether this is root and may mount in a namespace of its own.
can_mount() { [ "$(id -u)" -eq 0 ] && unshare --mount true; }

# in_root ROOT COMMAND...
in_root() {
  local root=$1
  shift
  env -i DEBIAN_FRONTEND=noninteractive HOME=/root LC_ALL=C.UTF-8 PATH=/usr/sbin:/usr/bin:/sbin:/bin \
    ${TERM:+"TERM=$TERM"} chroot "$root" "$@"
}

# mount_root ROOT DIRECTORY...: mounts the system directories in it, and these directories of the machine.
mount_root() {
  local root=$1 directory
  shift
  # A test mounts in a namespace of its own, for which / has to be a mount point.
  mount --bind "$root" "$root"
  mount -t proc proc "$root/proc"
  mount --rbind /sys "$root/sys"
  mount --rbind /dev "$root/dev"
  for directory in "$@"; do
    mkdir -p "$root$directory"
    mount --bind "$directory" "$root$directory"
  done
}

# The mirror of the machine's own packages.
find_mirror() {
  apt-get indextargets --format '$(SITE)' 'Origin: Debian' 'Label: Debian' | sort -u | head -n 1
}

# Unpacks debootstrap into a directory. It will download with apt, and so with the machine's own settings.
unpack_debootstrap() {
  mkdir -p "$1/bin"
  (cd "$1" && apt-get download -o APT::Sandbox::User=root debootstrap &&
    dpkg -x debootstrap_*.deb .) || return
  cat >"$1/bin/wget" <<'END'
#!/bin/sh
while [ "$1" != -O ]; do shift; done
exec /usr/lib/apt/apt-helper -o APT::Sandbox::User=root download-file "$3" "$2"
END
  chmod +x "$1/bin/wget"
}

# make_root ROOT RELEASE [MIRROR]: makes a minimal system of the machine's architecture.
make_root() {
  local root=$1 release=$2 mirror=${3:-$(find_mirror)} tools
  tools=$(mktemp -d "$root-tools.XXXXXX")
  if [ -z "$mirror" ] || ! unpack_debootstrap "$tools"; then
    apt-get update
    mirror=${mirror:-$(find_mirror)}
    unpack_debootstrap "$tools"
  fi
  rm -rf --one-file-system "$root"
  DEBOOTSTRAP_DIR=$tools/usr/share/debootstrap PATH=$tools/bin:$PATH \
    "$tools/usr/sbin/debootstrap" --variant=minbase "$release" "$root" "$mirror"
  rm -rf "$tools"
  # The index of a mirror that is no longer updated expires one day.
  cat >"$root/etc/apt/apt.conf.d/90own" <<'END'
Acquire::Check-Valid-Until "false";
Acquire::Languages "none";
APT::Install-Recommends "false";
APT::Sandbox::User "root";
END
  echo force-unsafe-io >"$root/etc/dpkg/dpkg.cfg.d/own"
  echo "deb $mirror $release main" >"$root/etc/apt/sources.list"
  echo "$mirror" >"$root/mirror"
}
