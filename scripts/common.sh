# Sourced by the scripts beside it: steps, packages, building. Bash.

set -euo pipefail
caller=$PWD
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"

# Debian 12's names; a|b means the first that this system's package lists offer (Ubuntu 24.04 differs in a few).
build_packages=(
  clang-16 libclang-rt-16-dev lld-16 cmake ninja-build ccache pkg-config git
  libicu-dev nlohmann-json3-dev
  libcurl4-openssl-dev libpipewire-0.3-dev libsndfile1-dev libsoundtouch-dev libavformat-dev libavcodec-dev libswresample-dev libavutil-dev
  libpocketsphinx-dev libsphinxbase-dev pocketsphinx-en-us
  qt6-base-dev qt6-declarative-dev qt6-declarative-dev-tools libgl1-mesa-dev libqt6svg6 qt6-wayland
  qml6-module-qtquick qml6-module-qtquick-controls qml6-module-qtquick-layouts qml6-module-qtquick-templates
  qml6-module-qtquick-window qml6-module-qtqml qml6-module-qtqml-models qml6-module-qtqml-workerscript
  qml6-module-qtquick-dialogs qml6-module-qt-labs-folderlistmodel
  fonts-inter fonts-noto-cjk xdg-user-dirs pipewire-bin
  libgtest-dev libgmock-dev libbenchmark-dev libxcb1-dev
)
# A private sound session, a display and a speaker for the rehearsal and the tests.
rehearsal_packages=(
  pipewire libspa-0.2-modules wireplumber
  xvfb openbox dbus at-spi2-core flite sox ffmpeg libglib2.0-bin util-linux
)
test_packages=(clang-format-16 clang-tidy-16 qml6-module-qttest)

step() { printf '==> %s\n' "$*"; }

fail() {
  printf 'talkledger: %s\n' "$*" >&2
  exit 1
}

cache=${XDG_CACHE_HOME:-$HOME/.cache}/talkledger

is_installed() { [ "$(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null)" = installed ]; }

# Prints the packages of the list that are not installed yet, an alternative as the name to install.
missing_packages() {
  local entry name names chosen
  for entry in "$@"; do
    IFS='|' read -ra names <<<"$entry"
    chosen=
    for name in "${names[@]}"; do
      if is_installed "$name"; then
        continue 2
      fi
    done
    for name in "${names[@]}"; do
      if [ "${#names[@]}" -eq 1 ] || [ -n "$(apt-cache madison "$name" 2>/dev/null)" ]; then
        chosen=$name
        break
      fi
    done
    printf '%s\n' "${chosen:-${names[0]}}"
  done
}

# Runs a command with the rights to install: as root, or through sudo.
as_root() {
  if [ "$(id -u)" -eq 0 ]; then
    "$@"
  else
    sudo "$@"
  fi
}

# Asks for the password where somebody can give it.
can_become_root() {
  [ "$(id -u)" -eq 0 ] || { command -v sudo >/dev/null && { sudo -n true 2>/dev/null || { [ -t 0 ] && sudo -v; }; }; }
}

install_missing() {
  command -v dpkg-query >/dev/null || fail "This system has no dpkg: install the packages named in scripts/common.sh by their names here, then build with 'cmake --preset release'."
  local missing
  mapfile -t missing < <(missing_packages "$@")
  [ "${#missing[@]}" -gt 0 ] || return 0
  can_become_root || fail "Packages are missing, and installing them needs root or sudo. Have someone run: apt-get install --no-install-recommends ${missing[*]}"
  step "Installing ${#missing[@]} packages: ${missing[*]}"
  as_root apt-get -qq update || fail "The package lists could not be fetched: check the network connection and run this again."
  mapfile -t missing < <(missing_packages "$@")
  # --no-remove: nothing that is installed here gives way to what we need.
  if ! as_root env DEBIAN_FRONTEND=noninteractive apt-get -qq install -y --no-install-recommends --no-remove \
    "${missing[@]}" >"$root/build/packages.log" 2>&1; then
    tail -n 5 "$root/build/packages.log" >&2
    fail "Packages could not be installed: ${missing[*]} (build/packages.log has the whole story)."
  fi
}

# Boost 1.81 or newer, headers only. Debian 12 offers 1.81 beside its default 1.74, and lets only one of them be
# installed: where 1.74 is, the newer headers are unpacked into the cache, where cmake/Dependencies.cmake finds them, and
# nothing is taken away.
unpack_boost() {
  [ ! -d "$cache/boost/usr/include/boost" ] || return 0
  step "Unpacking the headers of Boost 1.81 into $cache/boost (1.74 stays installed)"
  local unfinished="$cache/boost.unfinished"
  rm -rf "$unfinished"
  mkdir -p "$unfinished"
  (cd "$unfinished" && apt-get -qq download libboost1.81-dev && dpkg-deb -x libboost1.81-dev_*.deb . && rm -f ./*.deb) &&
    rm -rf "$cache/boost" && mv "$unfinished" "$cache/boost" ||
    fail "The headers of Boost 1.81 could not be fetched: run 'apt-get update' as root, then this again."
}

# Each engine with the package that has it where the distribution does; the others are built by scripts/engine.
engines=(whisper:libwhisper-dev llama:libllama-dev)

provide_engines() {
  local entry name package
  for entry in "${engines[@]}"; do
    IFS=: read -r name package <<<"$entry"
    if is_installed "$package" || [ -d "$(scripts/engine folder "$name")" ]; then
      continue
    fi
    if [ -n "$(apt-cache madison "$package" 2>/dev/null)" ]; then
      install_missing "$package"
      continue
    fi
    step "Building the engine $name once, for some minutes (no package of this system has it)"
    # In a subshell, whose failure is not ours: everything but that engine works without it.
    if ! (command -v npm >/dev/null || install_missing npm) || ! scripts/engine build "$name"; then
      step "Going on without the engine $name; the next run tries to build it again"
    fi
  done
}

# provide PACKAGE...: what the build needs, and the packages named.
provide() {
  if is_installed libboost1.74-dev; then
    install_missing "${build_packages[@]}" "$@"
    unpack_boost
  else
    install_missing "${build_packages[@]}" 'libboost1.81-dev|libboost1.83-dev' "$@"
  fi
  provide_engines
}

# A build that was configured before an engine was there, or with another version of it, knows nothing of it.
knows_engines() {
  local entry name folder
  for entry in "${engines[@]}"; do
    name=${entry%%:*}
    folder=$(scripts/engine folder "$name")
    if [ -d "$folder" ] && ! grep -qxF "TALKLEDGER_${name^^}_FOLDER:INTERNAL=$folder" "$1/CMakeCache.txt"; then
      return 1
    fi
  done
}

# build PRESET TARGET...: configures when needed, compiles what has changed.
build() {
  local preset=$1 log="$root/build/$1.log"
  shift
  if [ ! -f "build/$preset/build.ninja" ] || ! knows_engines "build/$preset"; then
    step "Configuring ($preset)"
    cmake --preset "$preset" >"$log" 2>&1 || {
      tail -n 20 "$log" >&2
      fail "The build could not be configured (build/$preset.log)."
    }
  fi
  step "Building ($preset)"
  cmake --build "build/$preset" --target "$@" >"$log" 2>&1 || {
    grep -m 40 -A 5 -E 'error:|FAILED|undefined' "$log" >&2 || tail -n 40 "$log" >&2
    fail "The build failed (build/$preset.log)."
  }
}

mkdir -p build
