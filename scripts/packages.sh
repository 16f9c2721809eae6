# shellcheck shell=bash disable=SC2034
# Debian packages by purpose; sourced.
ZVCLR_BUILD_PACKAGES=(g++ cmake ninja-build pkg-config libpng-dev libjpeg-dev libtiff-dev libcli11-dev libfmt-dev)
# Outside readers, which the tests let look at the tool's files, stand in the second line.
ZVCLR_TEST_PACKAGES=(libgtest-dev libbenchmark-dev python3 file bsdutils
    libtiff-tools libjpeg-turbo-progs netpbm libimage-exiftool-perl imagemagick)
ZVCLR_CI_PACKAGES=(ccache clang clang-format clang-tidy shellcheck g++-mingw-w64-x86-64-posix wine64 googletest)
