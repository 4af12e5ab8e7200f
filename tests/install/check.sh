#!/usr/bin/env bash
# Installs a finished build, moves the installed tree and uses it from outside: the programs, the
# library by way of CMake and of pkg-config. Then the same with the Debian package, unpacked.
#
#   tests/install/check.sh BUILD
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
top=$(cd "$here/../.." && pwd)
build=$(cd "$1" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
  echo "tests/install/check.sh: $*" >&2
  exit 1
}
cached() { sed -n "s/^$1:[A-Z]*=//p" "$build/CMakeCache.txt"; }
# quietly COMMAND...: shows what it says only when it fails.
quietly() { "$@" >"$work/log" 2>&1 || { cat "$work/log" >&2; fail "failed: $*"; }; }
# same WHAT EXPECTED FOUND: two files or two trees.
same() {
  diff -r "$2" "$3" >"$work/differences" && return
  head -n 20 "$work/differences" >&2
  fail "$1: not what was expected (<) but something else (>)"
}
# files FOLDER [FIND-OPTION...]: their names in it.
files() { (cd "$1" && find . -type f "${@:2}" | LC_ALL=C sort); }

version=$(cached CMAKE_PROJECT_VERSION)
compiler=$(cached CMAKE_CXX_COMPILER)
programs=(tolvek)
[ "$(cached TOLVEK_BUILD_TVK)" = OFF ] || programs+=(tvk)

check_files() {
  local tree=$1 program
  for program in "${programs[@]}"; do
    [ -x "$tree/bin/$program" ] || fail "no bin/$program"
    gzip -dc "$tree/share/man/man1/$program.1.gz" >"$work/manual"
    [[ $(head -n 2 "$work/manual") == *".TH ${program^^} 1 "* ]] || fail "not the manual of $program"
  done
  if [ ${#programs[@]} -gt 1 ]; then
    same manual "$build/tvk.1" "$work/manual"
    same completion "$top/completions/tvk.bash" "$tree/share/bash-completion/completions/tvk"
  fi
  same programs <(printf '%s\n' "${programs[@]}") <(ls "$tree/bin")
  same models "$top/data" "$tree/share/tolvek"
  same headers <(files "$top/src" -name '*.h') <(files "$tree/include/tolvek")
  same licence "$top/LICENSE" "$tree/share/doc/tolvek/LICENSE"
  same copyright "$top/cmake/copyright" "$tree/share/doc/tolvek/copyright"
  same documentation <(files "$top/docs" -name '*.md') <(files "$tree/share/doc/tolvek/docs")
  same examples "$top/examples" "$tree/share/doc/tolvek/examples"
  same lists <(files "$top/resources" -name '*.txt') <(files "$tree/share/doc/tolvek/resources")
}

# From a directory that is neither the source's nor the build's.
check_programs() {
  local tree=$1
  rm -rf "$work/elsewhere"
  mkdir "$work/elsewhere"
  cd "$work/elsewhere"
  ln -s "$tree/share/tolvek" data
  quietly "$tree/bin/tolvek" -i "$top/examples/chinese.gbk" -o segpos -t segpos
  same "tolvek -t segpos" "$top/examples/chinese.segpos.gbk" segpos
  quietly "$tree/bin/tolvek" -i "$top/examples/english.txt" -o tokpos -t tokpos
  same "tolvek -t tokpos" "$top/examples/english.tokpos.txt" tokpos
  if [ ${#programs[@]} -gt 1 ]; then
    same "tvk --version" <(echo "tvk $version") <("$tree/bin/tvk" --version)
    quietly "$tree/bin/tvk" text "$top/examples/chinese.txt" --to gbk -o gbk
    same "tvk text" "$top/examples/chinese.gbk" gbk
    rm data  # tvk finds the models that are installed with it
    env -u TOLVEK_DATA "$tree/bin/tvk" segpos "$top/examples/chinese.txt" >utf-8
    same "tvk segpos" \
      <(iconv -f GBK -t UTF-8 "$top/examples/chinese.segpos.gbk" | sed 's/ $//') utf-8
  fi
}

# check_example PROGRAM TREE: the example of README.md, with the installed models.
check_example() {
  "$1" "$2/share/tolvek" <"$top/examples/chinese.gbk" >"$work/example" 2>"$work/log" ||
    { cat "$work/log" >&2; fail "$1 failed"; }
  same "$1" "$top/examples/chinese.segpos.gbk" "$work/example"
}

check_library() {
  local tree=$1 flags pc
  rm -rf "$work/outside"
  quietly cmake -S "$here" -B "$work/outside" -DCMAKE_CXX_COMPILER="$compiler" \
    -DCMAKE_PREFIX_PATH="$tree" -DVERSION="$version"
  quietly cmake --build "$work/outside"
  check_example "$work/outside/outside" "$tree"

  pc=$(dirname "$(find "$tree" -name tolvek.pc)")
  export PKG_CONFIG_LIBDIR=$pc
  [ "$(pkg-config --modversion tolvek)" = "$version" ] || fail "pkg-config finds another version"
  same "models of pkg-config" "$top/data" "$(pkg-config --variable=resources tolvek)"
  read -ra flags < <(pkg-config --cflags --libs tolvek)
  quietly "$compiler" -std=c++20 "$here/main.cpp" "${flags[@]}" -o "$work/outside/by-pkg-config"
  check_example "$work/outside/by-pkg-config" "$tree"

  # Every header finds what it includes.
  files "$tree/include/tolvek" | sed 's|^\./\(.*\)|#include "\1"|' >"$work/outside/all.cpp"
  quietly "$compiler" -std=c++20 -fsyntax-only "$work/outside/all.cpp" "${flags[@]}"
}

check_tree() {
  check_files "$1"
  check_programs "$1"
  check_library "$1"
}

# The example stands in README.md as it is compiled here, but for the line of the licence.
awk '/^## /{ inside = /As a library/ } /^```$/{ code = 0 } inside && code { print }
     /^```cpp$/{ code = 1 }' "$top/README.md" >"$work/example.cpp"
same "example of README.md" <(tail -n +2 "$here/main.cpp") "$work/example.cpp"

quietly cmake --install "$build" --prefix "$work/first"
mv "$work/first" "$work/moved"
check_tree "$work/moved"

(umask 077 && quietly cpack --config "$build/CPackConfig.cmake" -G DEB -B "$work/package")
package=$(echo "$work"/package/tolvek_"$version"_*.deb)
dpkg-deb -x "$package" "$work/root"
check_tree "$work/root/usr"
same "files of the package" <(files "$work/moved") <(files "$work/root/usr")
same "folders of the package" <(echo usr) <(ls "$work/root")
for program in "${programs[@]}"; do
  [[ $(file -b "$work/root/usr/bin/$program") == *", stripped"* ]] || fail "$program is not stripped"
done
strange=$(dpkg-deb -c "$package" | awk '$1 !~ /^(d|-)rw(x|-)r-(x|-)r-(x|-)$/ || $2 != "root/root"')
[ -z "$strange" ] || fail "odd modes or owners: $strange"
depends=$(dpkg-deb -f "$package" Depends)
for library in libc6 libstdc++6; do
  [[ $depends == *"$library (>= "* ]] || fail "depends on '$depends', not on $library"
done
[ "$(dpkg-deb -f "$package" Package Version)" = "Package: tolvek
Version: $version" ] || fail "another name or version: $(dpkg-deb -f "$package")"
