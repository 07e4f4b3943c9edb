#!/usr/bin/env bash
# Installs what the project needs from Debian 12's packages. Idempotent and
# quick when everything is already there; non-interactive.
set -euo pipefail

packages=(
    build-essential cmake ninja-build pkg-config
    qt6-base-dev qt6-declarative-dev qt6-tools-dev qt6-tools-dev-tools qt6-l10n-tools
    qt6-qpa-plugins
    qml6-module-qtqml qml6-module-qtqml-workerscript qml6-module-qtquick
    qml6-module-qtquick-controls qml6-module-qtquick-templates qml6-module-qtquick-layouts
    qml6-module-qtquick-window qml6-module-qtquick-dialogs qml6-module-qtquick-shapes
    qml6-module-qt-labs-platform qml6-module-qttest
    qml6-module-qt-labs-folderlistmodel fonts-wqy-microhei
    libprotobuf-dev protobuf-compiler
    libsqlite3-dev sqlite3
    libsodium-dev
    libicu-dev
    libical-dev
    tzdata
    dbus-daemon
    valgrind gnuplot-nox
    clang libclang-rt-14-dev
)

missing=()
for p in "${packages[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
        missing+=("$p")
    fi
done

if [ ${#missing[@]} -eq 0 ]; then
    exit 0
fi

echo "setup: installing ${missing[*]}"
sudo_cmd=()
if [ "$(id -u)" -ne 0 ]; then
    sudo_cmd=(sudo)
fi
export DEBIAN_FRONTEND=noninteractive
"${sudo_cmd[@]}" apt-get update -qq
"${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
