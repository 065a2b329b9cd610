# SPDX-License-Identifier: MIT
# Sourced by the other scripts: installs the Debian packages the build needs, calling
# apt-get update only when something is missing.
QV_PACKAGES=(
  g++ make cmake pkg-config
  libopenblas-dev liblapacke-dev libcminpack-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  libeigen3-dev libcgal-dev libboost-dev
  clang-14 libclang-rt-14-dev clang-format
  libnanoflann-dev
  pybind11-dev python3-numpy python3-pytest
  libcli11-dev libpng-dev
)

qv_install_deps() {
  local missing=() p
  for p in "$@"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
  done
  if ((${#missing[@]})); then
    echo "Installing missing packages: ${missing[*]}"
    local sudo=""
    [ "$(id -u)" -ne 0 ] && sudo="sudo"
    $sudo apt-get update -qq
    DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
  fi
}
