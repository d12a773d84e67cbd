#!/usr/bin/env bash
# Installs the Debian packages Ravo builds, runs and tests with; does nothing when all are there.
set -euo pipefail

packages=(
    build-essential cmake ninja-build pkg-config
    qt6-base-dev qt6-base-dev-tools qt6-qpa-plugins libqt6svg6-dev qcoro-qt6-dev
    qtkeychain-qt6-dev
    libgl-dev libvulkan-dev libxkbcommon-dev
    nlohmann-json3-dev libssl-dev libdbus-1-dev libncurses-dev libxcb1-dev
    libboost-dev libsqlite3-dev libpq-dev libcurl4-openssl-dev
    libgtest-dev libgmock-dev libbenchmark-dev
    dbus dbus-x11 xvfb xauth procps jq valgrind fonts-dejavu-core
)
if [ "${1:-}" = "--tests" ]; then
    packages+=(sqlite3 nodejs npm trayer x11-utils clang libclang-rt-14-dev python3-aiosmtpd curl
        openssl postgresql gnome-keyring libsecret-tools dunst
        iproute2 nftables tmux xterm python3-dbus python3-gi systemd util-linux
        lintian dpkg-dev adduser file
        groff-base man-db bsdextrautils zsh fish appstream desktop-file-utils libxml2-utils
        xfce4-panel xfconf waybar sway)
fi

missing=()
for package in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" ||
        missing+=("$package")
done
# A Node.js from elsewhere (nodesource, nvm) is as good as Debian's.
if command -v node >/dev/null && command -v npm >/dev/null; then
    filtered=()
    for package in "${missing[@]}"; do
        [ "$package" = nodejs ] || [ "$package" = npm ] || filtered+=("$package")
    done
    missing=("${filtered[@]}")
fi
[ ${#missing[@]} -eq 0 ] && exit 0

sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
echo "Installing: ${missing[*]}"
$sudo env DEBIAN_FRONTEND=noninteractive apt-get update -qq
$sudo env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}"
