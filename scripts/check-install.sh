#!/usr/bin/env bash
# Installs a build into a scratch prefix and uses it as another project would:
# the tree a distribution package holds (versioned library with its SONAME,
# header, CMake package, pkg-config file, UnAceV2.Dll beside the plug-in,
# acearc, man page, bash completion), a small program built through
# pkg-config and one through find_package(aceplug), both run, and the
# installed acearc run from its prefix. Usage: check-install.sh [BUILD_DIR]
set -euo pipefail
cd "$(dirname "$0")/.."
build=$(realpath "${1:-build/native}")
# Inside the build folder: the tests expect the temporary folder left empty.
work=$build/install-check
rm -rf "$work"
mkdir -p "$work/data"
trap 'rm -rf "$work"' EXIT
fail() { echo "check-install: $*" >&2; exit 1; }

prefix=$work/prefix
cmake --install "$build" --prefix "$prefix" >/dev/null
lib=$(dirname "$(find "$prefix" -name libaceplug.so.1.0.0)")
[ "$lib" != . ] || fail "libaceplug.so.1.0.0 was not installed"
for f in "$lib/libaceplug.so.1" "$lib/libaceplug.so" "$lib/UnAceV2.Dll" \
  "$prefix/include/aceplug/aceplug.h" "$lib/pkgconfig/aceplug.pc" \
  "$lib/cmake/aceplug/aceplugConfig.cmake" "$prefix/bin/acearc" \
  "$prefix/share/man/man1/acearc.1" "$prefix/share/bash-completion/completions/acearc"; do
  [ -e "$f" ] || fail "not installed: ${f#"$prefix"/}"
done
soname=$(objdump -p "$lib/libaceplug.so.1.0.0" | awk '$1 == "SONAME" { print $2 }')
[ "$soname" = libaceplug.so.1 ] || fail "SONAME is '$soname', not libaceplug.so.1"
readelf -d "$prefix/bin/acearc" | grep -q 'R.*PATH.*\$ORIGIN/\.\./' ||
  fail "acearc has no RPATH relative to its prefix"

# Through pkg-config, with nothing but the .pc file to go by.
flags=$(PKG_CONFIG_PATH=$lib/pkgconfig pkg-config --cflags --libs aceplug)
cc -std=c11 -Wall -Werror -o "$work/consumer-pc" tests/install/consumer.c $flags
mkdir "$work/data/pc"
LD_LIBRARY_PATH=$lib "$work/consumer-pc" "$work/data/pc" || fail "the pkg-config consumer failed"

# Through find_package(aceplug).
cmake -S tests/install -B "$work/consumer" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/consumer" >/dev/null
mkdir "$work/data/cmake"
"$work/consumer/consumer" "$work/data/cmake" || fail "the find_package consumer failed"

# The installed acearc finds the plug-in and UnAceV2.Dll from its prefix alone.
env -u LD_LIBRARY_PATH "$prefix/bin/acearc" t "$work/data/pc/made.ace" >/dev/null 2>"$work/err" ||
  fail "the installed acearc cannot test an archive: $(cat "$work/err")"

# The man page and the completion name every option that --help names.
commands=$("$prefix/bin/acearc" --help | awk '/^Subcommands:/ { on = 1; next }
  on && /^  [^ ]/ { print $1; next } on { exit }')
man=$(sed 's/\\-/-/g' "$prefix/share/man/man1/acearc.1")
for command in $commands; do
  options=$("$prefix/bin/acearc" "$command" --help |
    awk '/^  -/ { n = split($1, names, ","); for (i = 1; i <= n; i++) print names[i] }')
  completed=$(bash -c 'source "$1"; COMP_WORDS=(acearc "$2" -); COMP_CWORD=2; _acearc
    printf "%s\n" "${COMPREPLY[@]}"' _ "$prefix/share/bash-completion/completions/acearc" "$command")
  for option in $options; do
    grep -qx -- "$option" <<<"$completed" || fail "completion of 'acearc $command' lacks $option"
    grep -q -- "$option" <<<"$man" || fail "the man page lacks $option"
  done
  grep -q "^\.SS \"acearc $command\"" "$prefix/share/man/man1/acearc.1" ||
    fail "the man page lacks the command $command"
done
echo "install check: the installed tree is complete; both consumers and acearc ran"
