#include "tiff_file.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>

#include "codecs.h"

namespace zvimage {

namespace {

constexpr size_t kTextBytes = 512;

std::string formatText(const char* format, va_list arguments) {
    char text[kTextBytes];
    std::vsnprintf(text, sizeof text, format, arguments);
    return text;
}

// The first error is the cause, later ones its consequences.
int onError(TIFF*, void* user, const char*, const char* format, va_list arguments) {
    std::string& error = static_cast<TiffStream*>(user)->messages.error;
    error = error.empty() ? formatText(format, arguments) : error;
    return 1;
}

int onWarning(TIFF*, void* user, const char*, const char* format, va_list arguments) {
    static_cast<TiffStream*>(user)->messages.warning = formatText(format, arguments);
    return 1;
}

tmsize_t onRead(thandle_t handle, void* data, tmsize_t count) {
    auto* stream = static_cast<TiffStream*>(handle);
    int64_t got = 0;
    if (stream->input != nullptr) {
        got = stream->input->readAt(data, static_cast<size_t>(count), stream->offset);
    } else {
        got = ::pread(stream->descriptor, data, static_cast<size_t>(count), stream->offset);
    }
    stream->offset += std::max<int64_t>(0, got);
    return got;
}

tmsize_t onWrite(thandle_t handle, void* data, tmsize_t count) {
    auto* stream = static_cast<TiffStream*>(handle);
    const uint8_t* bytes = static_cast<const uint8_t*>(data);
    tmsize_t left = count;
    while (left > 0) {
        const ssize_t done = ::pwrite(stream->descriptor, bytes, static_cast<size_t>(left), stream->offset);
        if (done < 0 && errno == EINTR) {
            continue;
        }
        if (done <= 0) {
            stream->systemError = errno;
            return -1;
        }
        bytes += done;
        left -= done;
        stream->offset += done;
        stream->size = std::max(stream->size, stream->offset);
    }
    return count;
}

toff_t onSeek(thandle_t handle, toff_t offset, int whence) {
    auto* stream = static_cast<TiffStream*>(handle);
    const int64_t base = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? stream->offset : stream->size;
    stream->offset = base + static_cast<int64_t>(offset);
    if (stream->offset < 0) {
        stream->offset = base;
        return static_cast<toff_t>(-1);
    }
    return static_cast<toff_t>(stream->offset);
}

int onClose(thandle_t) { return 0; }

toff_t onSize(thandle_t handle) { return static_cast<toff_t>(static_cast<TiffStream*>(handle)->size); }

}  // namespace

TiffPointer openTiffStream(TiffStream& stream, const std::string& name, const char* mode) {
    const std::unique_ptr<TIFFOpenOptions, void (*)(TIFFOpenOptions*)> options(TIFFOpenOptionsAlloc(),
                                                                               TIFFOpenOptionsFree);
    if (!options) {
        throw std::bad_alloc();
    }
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), onError, &stream);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), onWarning, &stream);
    TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), kMaxWholeImage / 4);
    return TiffPointer(TIFFClientOpenExt(name.c_str(), mode, &stream, onRead, onWrite, onSeek, onClose, onSize, nullptr,
                                         nullptr, options.get()));
}

}  // namespace zvimage
