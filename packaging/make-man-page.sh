#!/bin/sh
# Writes the acearc(1) man page to stdout, made from the program's own --help
# texts so that the two say the same: make-man-page.sh ACEARC VERSION.
set -eu
acearc=$1
version=$2
commands=$("$acearc" --help | awk '/^Subcommands:/ { on = 1; next } on && /^  [^ ]/ { print $1; next } on { exit }')

# --help text to man(7): "Heading:" lines become bold headings, two-space
# indented "term  text" lines become tagged paragraphs, deeper lines go on
# the paragraph above (a still deeper one on a line of its own), the rest is
# running text.
to_man() {
  awk '
    function esc(s) {
      gsub(/\\/, "\\e", s); gsub(/-/, "\\-", s)
      if (s ~ /^[.\047]/) s = "\\&" s
      return s
    }
    /^$/ { next }
    /^[^ ].*:$/ { printf ".PP\n.B %s\n", esc($0); next }
    /^  [^ ]/ {
      line = substr($0, 3); term = line; text = ""
      if (match(line, /  +/)) { term = substr(line, 1, RSTART - 1); text = substr(line, RSTART + RLENGTH) }
      printf ".TP\n.B %s\n", esc(term)
      if (text != "") print esc(text)
      next
    }
    /^   / {
      match($0, /^ +/)
      if (RLENGTH > 30) print ".br"
      sub(/^ +/, ""); print esc($0); next
    }
    { printf ".PP\n%s\n", esc($0) }
  '
}

name=$("$acearc" --help | head -n 1 | sed 's/^acearc: *//; s/\.$//')
cat <<HEAD
.TH ACEARC 1 "" "acearc $version" "User Commands"
.SH NAME
acearc \\- $name
.SH SYNOPSIS
.B acearc
[\\fIOPTIONS\\fR] \\fICOMMAND\\fR \\fIARCHIVE\\fR [\\fIARGUMENTS\\fR...]
.SH DESCRIPTION
HEAD
"$acearc" --help | tail -n +2 | to_man
echo ".SH COMMANDS"
for command in $commands; do
  echo ".SS \"acearc $command\""
  "$acearc" "$command" --help | to_man
done
cat <<'TAIL'
.SH FILES
The plug-in libaceplug.so loads the extraction library UnAceV2.Dll from its
own directory; testing and extracting need it there.
.SH SEE ALSO
The README of aceplug.
TAIL
