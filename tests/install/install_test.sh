#!/usr/bin/env bash
# Installs the build into a temporary prefix and uses it as a user would: the
# installed `kelo --version` and `kelo demo`, the desktop entry and the AppStream
# metainfo through their validators, the icon theme sizes, the man page and the
# completion. Usage: install_test.sh BUILD_DIR VERSION
set -euo pipefail
build=$1
version=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix

fail() { echo "FAIL: $*" >&2; exit 1; }

cmake --install "$build" --prefix "$prefix" >/dev/null

[[ $("$prefix/bin/kelo" --version) == "kelo $version" ]] || fail "installed kelo --version"
[[ -x "$prefix/bin/kelo-gui" ]] || fail "kelo-gui is not installed"

# The demo from the installed copy, with a home, data and temporary folder of its own.
mkdir -p "$work/home" "$work/tmp"
HOME=$work/home XDG_DATA_HOME=$work/home/.local/share TMPDIR=$work/tmp \
    "$prefix/bin/kelo" demo >"$work/demo.out" 2>"$work/demo.err" || { cat "$work/demo.err" >&2; fail "installed kelo demo"; }
grep -q "^Kelo demo: sample folders made in $work/tmp/" "$work/demo.out" || fail "demo did not use its own sample folders"

share=$prefix/share
desktop-file-validate "$share/applications/app.kelo.Kelo.desktop" || fail "desktop-file-validate"
grep -q '^Name\[vi\]=\|^GenericName\[vi\]=' "$share/applications/app.kelo.Kelo.desktop" || fail "no Vietnamese name"
appstreamcli validate --no-net "$share/metainfo/app.kelo.Kelo.metainfo.xml" >"$work/appstream.out" ||
    { cat "$work/appstream.out" >&2; fail "appstreamcli validate"; }
grep -q '<screenshot' "$share/metainfo/app.kelo.Kelo.metainfo.xml" || fail "metainfo lists no screenshot"

for size in 16 24 32 48 64 128 256 512; do
    icon=$share/icons/hicolor/${size}x${size}/apps/app.kelo.Kelo.png
    [[ $(file -b "$icon") == "PNG image data, $size x $size,"* ]] || fail "icon at $size px"
done
[[ -f "$share/icons/hicolor/scalable/apps/app.kelo.Kelo.svg" ]] || fail "scalable icon"

# The man page renders and lists every command `kelo --help` lists.
man -l "$share/man/man1/kelo.1.gz" >"$work/man.txt" 2>"$work/man.err" || fail "man page does not render"
[[ ! -s "$work/man.err" ]] || { cat "$work/man.err" >&2; fail "man page warnings"; }
for command in $("$prefix/bin/kelo" --help | awk '/^Subcommands:/{on=1; next} on && /^  [^ ]/{print $1}'); do
    grep -q "kelo $command" "$work/man.txt" || fail "man page misses kelo $command"
done

# The completion offers the commands of the installed kelo.
completions=$(PATH=$prefix/bin:$PATH bash -c "source '$share/bash-completion/completions/kelo'; "'COMP_WORDS=(kelo gr); COMP_CWORD=1; _kelo; echo "${COMPREPLY[*]}"')
[[ $completions == "grant group" ]] || fail "completion offered '$completions'"
echo "install test passed"
