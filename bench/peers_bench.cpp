// What users might take instead, over the same picture on one thread. A peer rounds as it likes and has its own
// coefficients; its label names the kernels that do the nearest thing here.
#include "bench/measure.h"

#ifdef ZVCLR_HAVE_LIBYUV
#    include <libyuv.h>
#endif
#ifdef ZVCLR_HAVE_OPENCV
#    include <opencv2/core.hpp>
#    include <opencv2/imgproc.hpp>
#endif

namespace zv::bench {
namespace {

#if defined(ZVCLR_HAVE_LIBYUV) || defined(ZVCLR_HAVE_OPENCV)
size_t ImageBytes(int32_t pixelBytes) { return static_cast<size_t>(kPixels * pixelBytes); }
#endif

#ifdef ZVCLR_HAVE_LIBYUV

using Convert = int (*)(const uint8_t* source, int sourceStride, uint8_t* destination, int destinationStride, int width,
                        int height);
constexpr int32_t kArgbBytes = 4;

struct YuvPeer {
    const char* name;
    const char* kernel;
    Convert convert;
    int32_t sourceBytes;
    int32_t destinationBytes;
};

/// Two steps with four bytes a pixel between them, a row at a time so that they stay in the cache.
template <int32_t kSourceBytes, int32_t kDestinationBytes, Convert kFirst, Convert kSecond>
int ByRows(const uint8_t* source, int sourceStride, uint8_t* destination, int destinationStride, int width,
           int height) {
    static uint8_t row[kWidth * kArgbBytes];
    for (int y = 0; y < height; ++y) {
        kFirst(source + ptrdiff_t{y} * sourceStride, sourceStride, row, width * kArgbBytes, width, 1);
        kSecond(row, width * kArgbBytes, destination + ptrdiff_t{y} * destinationStride, destinationStride, width, 1);
    }
    return 0;
}

int ArgbToPlanes(const uint8_t* source, int sourceStride, uint8_t* destination, int, int width, int height) {
    uint8_t* const u = destination + kPixels;
    return libyuv::ARGBToI444(source, sourceStride, destination, width, u, width, u + kPixels, width, width, height);
}

int RawToPlanes(const uint8_t* source, int sourceStride, uint8_t* destination, int, int width, int height) {
    static uint8_t row[kWidth * kArgbBytes];
    for (int y = 0; y < height; ++y) {
        libyuv::RAWToARGB(source + ptrdiff_t{y} * sourceStride, sourceStride, row, width * kArgbBytes, width, 1);
        ArgbToPlanes(row, width * kArgbBytes, destination + ptrdiff_t{y} * width, width, width, 1);
    }
    return 0;
}

int PlanesToRaw(const uint8_t* source, int, uint8_t* destination, int destinationStride, int width, int height) {
    const uint8_t* const u = source + kPixels;
    return libyuv::I444ToRAW(source, width, u, width, u + kPixels, width, destination, destinationStride, width,
                             height);
}

constexpr YuvPeer kYuvPeers[] = {
    {"RAWToRGB24", "ClrHubSwap", libyuv::RAWToRGB24, 3, 3},
    {"ARGBToI444", "ClrYuvFromHub", ArgbToPlanes, 4, 3},
    {"RAWToARGB+ARGBToI444", "ClrYuvFromHub", RawToPlanes, 3, 3},
    {"I444ToRAW", "ClrYuvToHub", PlanesToRaw, 3, 3},
    {"ARGBToYUY2", "ClrYuy2FromHub", libyuv::ARGBToYUY2, 4, 2},
    {"RAWToARGB+ARGBToYUY2", "ClrYuy2FromHub", ByRows<3, 2, libyuv::RAWToARGB, libyuv::ARGBToYUY2>, 3, 2},
    {"YUY2ToARGB", "ClrYuy2ToHub", libyuv::YUY2ToARGB, 2, 4},
    {"YUY2ToARGB+ARGBToRAW", "ClrYuy2ToHub", ByRows<2, 3, libyuv::YUY2ToARGB, libyuv::ARGBToRAW>, 2, 3},
    {"ARGBToUYVY", "ClrUyvyFromHub", libyuv::ARGBToUYVY, 4, 2},
    {"RAWToARGB+ARGBToUYVY", "ClrUyvyFromHub", ByRows<3, 2, libyuv::RAWToARGB, libyuv::ARGBToUYVY>, 3, 2},
    {"UYVYToARGB", "ClrUyvyToHub", libyuv::UYVYToARGB, 2, 4},
    {"UYVYToARGB+ARGBToRAW", "ClrUyvyToHub", ByRows<2, 3, libyuv::UYVYToARGB, libyuv::ARGBToRAW>, 2, 3},
    {"ARGBToARGB4444", "ClrRgb444FromHub", libyuv::ARGBToARGB4444, 4, 2},
    {"ARGB4444ToARGB", "ClrRgb444ToHub", libyuv::ARGB4444ToARGB, 2, 4},
    {"ARGBToRGB565", "ClrRgb444FromHub", libyuv::ARGBToRGB565, 4, 2},
    {"RGB565ToARGB", "ClrRgb444ToHub", libyuv::RGB565ToARGB, 2, 4},
};

void Libyuv(benchmark::State& state, const YuvPeer* peer) {
    std::vector<uint8_t> in = Photograph();
    if (peer->sourceBytes == kArgbBytes) {
        std::vector<uint8_t> argb(ImageBytes(kArgbBytes));
        libyuv::RAWToARGB(in.data(), kWidth * 3, argb.data(), kWidth * kArgbBytes, kWidth, kHeight);
        in = argb;
    }
    std::vector<uint8_t> out(ImageBytes(peer->destinationBytes));
    state.SetLabel(peer->kernel);
    MeasurePixels(state, out, [&] {
        peer->convert(in.data(), kWidth * peer->sourceBytes, out.data(), kWidth * peer->destinationBytes, kWidth,
                      kHeight);
    });
}

#endif

#ifdef ZVCLR_HAVE_OPENCV

struct CvPeer {
    const char* name;
    const char* kernel;
    cv::ColorConversionCodes code;
    int sourceType;
    int destinationType;
};

#    define ZV_CV_PEER(code, kernel, source, destination)                                                              \
        { #code, kernel, cv::code, source, destination }
constexpr CvPeer kCvPeers[] = {
    ZV_CV_PEER(COLOR_RGB2BGR, "ClrHubSwap", CV_8UC3, CV_8UC3),
    ZV_CV_PEER(COLOR_RGB2YUV, "ClrYuvFromHub", CV_8UC3, CV_8UC3),
    ZV_CV_PEER(COLOR_YUV2RGB, "ClrYuvToHub", CV_8UC3, CV_8UC3),
    ZV_CV_PEER(COLOR_RGB2YCrCb, "ClrYcbcrFromHub", CV_8UC3, CV_8UC3),
    ZV_CV_PEER(COLOR_YCrCb2RGB, "ClrYcbcrToHub", CV_8UC3, CV_8UC3),
    ZV_CV_PEER(COLOR_RGB2XYZ, "ClrXyzFromHub", CV_8UC3, CV_8UC3),
    ZV_CV_PEER(COLOR_XYZ2RGB, "ClrXyzToHub", CV_8UC3, CV_8UC3),
    ZV_CV_PEER(COLOR_RGB2HSV_FULL, "ClrHsvFromHub", CV_8UC3, CV_8UC3),
    ZV_CV_PEER(COLOR_HSV2RGB_FULL, "ClrHsvToHub", CV_8UC3, CV_8UC3),
    ZV_CV_PEER(COLOR_RGB2HLS_FULL, "ClrHlsFromHub", CV_8UC3, CV_8UC3),
    ZV_CV_PEER(COLOR_HLS2RGB_FULL, "ClrHlsToHub", CV_8UC3, CV_8UC3),
    ZV_CV_PEER(COLOR_RGB2Lab, "ClrLabFromHub", CV_8UC3, CV_8UC3),
    ZV_CV_PEER(COLOR_Lab2RGB, "ClrLabToHub", CV_8UC3, CV_8UC3),
    ZV_CV_PEER(COLOR_RGB2BGR565, "ClrRgb444FromHub", CV_8UC3, CV_8UC2),
    ZV_CV_PEER(COLOR_BGR5652RGB, "ClrRgb444ToHub", CV_8UC2, CV_8UC3),
    ZV_CV_PEER(COLOR_YUV2RGB_YUY2, "ClrYuy2ToHub", CV_8UC2, CV_8UC3),
    ZV_CV_PEER(COLOR_YUV2RGB_UYVY, "ClrUyvyToHub", CV_8UC2, CV_8UC3),
};
#    undef ZV_CV_PEER

void OpenCv(benchmark::State& state, const CvPeer* peer) {
    cv::setNumThreads(1);
    std::vector<uint8_t> in = Photograph();
    std::vector<uint8_t> out(ImageBytes(CV_MAT_CN(peer->destinationType)));
    const cv::Mat source(kHeight, kWidth, peer->sourceType, in.data());
    cv::Mat destination(kHeight, kWidth, peer->destinationType, out.data());
    state.SetLabel(peer->kernel);
    MeasurePixels(state, out, [&] { cv::cvtColor(source, destination, peer->code); });
}

#endif

[[maybe_unused]] const bool registered = [] {
#ifdef ZVCLR_HAVE_LIBYUV
    for (const YuvPeer& peer : kYuvPeers) AddBenchmark(std::string("peer/libyuv/") + peer.name, Libyuv, &peer);
#endif
#ifdef ZVCLR_HAVE_OPENCV
    for (const CvPeer& peer : kCvPeers) AddBenchmark(std::string("peer/opencv/") + peer.name, OpenCv, &peer);
#endif
    return true;
}();

}  // namespace
}  // namespace zv::bench
