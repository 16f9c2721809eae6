// The platform's image colour management: five calls behind a record, so that it can be absent.
#pragma once

#include "host/platform.h"

#ifdef _WIN32
#    include <icm.h>
#else
// The types as the calls have them.
using HPROFILE = HANDLE;
using HTRANSFORM = HANDLE;
using BMFORMAT = int32_t;
using LPARAM = intptr_t;
using LPBMCALLBACKFN = BOOL (*)(DWORD, DWORD, LPARAM);
struct PROFILE {
    DWORD dwType;
    void* pProfileData;
    DWORD cbDataSize;
};
using PPROFILE = PROFILE*;
using PHPROFILE = HPROFILE*;
using PDWORD = DWORD*;

inline constexpr DWORD PROFILE_FILENAME = 1;
inline constexpr DWORD PROFILE_MEMBUFFER = 2;
inline constexpr DWORD PROFILE_READ = 1;
inline constexpr DWORD INTENT_PERCEPTUAL = 0;
inline constexpr DWORD INTENT_SATURATION = 2;
inline constexpr DWORD BEST_MODE = 3;
inline constexpr DWORD INDEX_DONT_CARE = 0;
inline constexpr BMFORMAT BM_RGBTRIPLETS = 2;
inline constexpr BMFORMAT BM_BGRTRIPLETS = 4;
inline constexpr BMFORMAT BM_16b_RGB = 10;
inline constexpr BMFORMAT BM_XYZTRIPLETS = 513;
inline constexpr BMFORMAT BM_LabTRIPLETS = 515;
inline constexpr BMFORMAT BM_KYMCQUADS = 773;
#endif

/// The platform's calls under their own names. Either all are there or none.
struct ZvColourManagement {
    using Open = HPROFILE(PROFILE* profile, DWORD access, DWORD share, DWORD creation);
    using Close = BOOL(HPROFILE profile);
    using Create = HTRANSFORM(HPROFILE* profiles, DWORD profileCount, DWORD* intents, DWORD intentCount, DWORD flags,
                              DWORD preferredCmm);
    using Translate = BOOL(HTRANSFORM transform, void* source, BMFORMAT sourceFormat, DWORD width, DWORD height,
                           DWORD sourceStride, void* destination, BMFORMAT destinationFormat, DWORD destinationStride,
                           LPBMCALLBACKFN callback, LPARAM callbackData);
    using Delete = BOOL(HTRANSFORM transform);

    Open* OpenColorProfileW;
    Close* CloseColorProfile;
    Create* CreateMultiProfileTransform;
    Translate* TranslateBitmapBits;
    Delete* DeleteColorTransform;

    bool IsPresent() const noexcept { return TranslateBitmapBits != nullptr; }
};

/// The calls in force: the platform's, which are loaded at the first use, or those that were put in their place.
const ZvColourManagement& ZvPlatformColours() noexcept;
/// Puts other calls in the place of the platform's, for tests; null puts them back. Not while another thread converts.
void ZvReplacePlatformColours(const ZvColourManagement* calls) noexcept;
