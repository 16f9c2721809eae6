# shellcheck shell=bash disable=SC2034
# Debian packages by purpose; sourced.
ZVCLR_BUILD_PACKAGES=(g++ cmake ninja-build pkg-config libpng-dev zlib1g-dev libjpeg-dev libtiff-dev libcli11-dev
    libfmt-dev nlohmann-json3-dev qt6-base-dev)
# Outside readers, which the tests let look at the tool's files, stand in the second line, real profiles in the third,
# what windows need to be shown to nobody in the fourth.
ZVCLR_TEST_PACKAGES=(libgtest-dev libbenchmark-dev libgif-dev python3 file bsdutils
    libtiff-tools libjpeg-turbo-progs netpbm libimage-exiftool-perl exiv2 imagemagick
    icc-profiles-free colord-data
    fonts-dejavu-core xvfb xdotool x11-utils)
ZVCLR_CI_PACKAGES=(ccache clang libclang-rt-14-dev clang-format clang-tidy shellcheck
    g++-mingw-w64-x86-64-posix wine64 googletest)
# What the benchmarks compare with, each of them optional.
ZVCLR_BENCH_PACKAGES=(libbenchmark-dev libyuv-dev libopencv-imgproc-dev)
# For scripts/screenshots, beside those of the tests. Wine has the fonts of the dialogs of Windows.
ZVCLR_SCREENSHOT_PACKAGES=(g++-mingw-w64-x86-64-posix wine64 fonts-wine googletest)
