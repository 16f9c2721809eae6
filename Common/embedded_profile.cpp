#include "Common/embedded_profile.h"

#include "host/host.h"

namespace zv {

namespace {

struct FormatRoute {
    int32_t first;
    int32_t last;
    IccRoute route;
};

// The numbers are the file library's.
constexpr FormatRoute kRoutes[] = {
    {10, 10, IccRoute::kMarkers}, {21, 21, IccRoute::kMarkers},   {23, 23, IccRoute::kMarkers},
    {98, 98, IccRoute::kMarkers}, {101, 101, IccRoute::kMarkers}, {171, 173, IccRoute::kMarkers},
    {3, 3, IccRoute::kTag},       {17, 17, IccRoute::kTag},       {22, 22, IccRoute::kTag},
    {24, 24, IccRoute::kTag},     {85, 88, IccRoute::kTag},       {93, 97, IccRoute::kTag},
    {138, 141, IccRoute::kTag},   {155, 155, IccRoute::kTag},     {166, 167, IccRoute::kTag},
    {174, 177, IccRoute::kTag},   {269, 276, IccRoute::kTag},     {315, 315, IccRoute::kTag},
    {16, 16, IccRoute::kEps},     {63, 64, IccRoute::kEps},       {300, 300, IccRoute::kEps},
    {56, 56, IccRoute::kChunks},  {2, 2, IccRoute::kGif},
};

}  // namespace

IccRoute IccRouteOf(int32_t format) noexcept {
    for (const FormatRoute& row : kRoutes) {
        if (format >= row.first && format <= row.last) return row.route;
    }
    return IccRoute::kNone;
}

int32_t IccFindRoute(const ZvChar* fileName, const void* loadOptions, IccRoute* route) noexcept {
    HostImageInfo info = {};
    info.size = sizeof info;
    const int32_t result = HostFileInfo(fileName, &info, sizeof info, 0, loadOptions);
    *route = IccRouteOf(info.format);
    return result;
}

}  // namespace zv
