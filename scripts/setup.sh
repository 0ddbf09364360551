#!/usr/bin/env bash
# Installs what a fresh Debian 12 machine lacks to build, test and benchmark.
set -euo pipefail
packages=(
  build-essential cmake g++ g++-multilib clang libclang-rt-14-dev
  googletest libgtest-dev libbenchmark-dev libcli11-dev
  zlib1g-dev libbz2-dev liblzma-dev libzstd-dev
  tzdata tmux binutils pkgconf
)
bash "$(dirname "$0")/install-packages.sh" "${packages[@]}"
