#!/usr/bin/env bash
# Installs what a fresh Debian 12 machine lacks to build, test and benchmark.
set -euo pipefail
packages=(
  build-essential cmake g++ g++-multilib clang libclang-rt-14-dev
  googletest libgtest-dev libbenchmark-dev libcli11-dev
  zlib1g-dev libbz2-dev liblzma-dev libzstd-dev
  tzdata tmux binutils pkgconf
)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if ((${#missing[@]})); then
  SUDO=""
  [ "$(id -u)" -eq 0 ] || SUDO="sudo"
  $SUDO apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq "${missing[@]}"
fi
