// File names of the caller's record and of the converter. A name of the record need not end.
#pragma once

#include "Common/converter.h"
#include "host/host.h"

namespace zv {

/// Characters of a name of the caller's record, at most all that the field has.
inline int32_t ClrNameLength(const ZvChar* name) noexcept {
    int32_t length = 0;
    while (length < CLR_NAME_LENGTH && name[length] != 0) ++length;
    return length;
}

/// Whether the field holds a closing zero.
inline bool ClrNameEnds(const ZvChar* name) noexcept { return ClrNameLength(name) < CLR_NAME_LENGTH; }

/// Whether a name of the converter can hold it.
inline bool ClrNameFits(const ZvChar* name) noexcept { return ClrNameLength(name) < kConverterNameLength; }

/// What does not fit is cut.
inline void ClrCopyName(ZvChar (&to)[kConverterNameLength], const ZvChar* name) noexcept {
    const int32_t length = ClrNameFits(name) ? ClrNameLength(name) : kConverterNameLength - 1;
    HostMove(to, name, static_cast<size_t>(length) * sizeof(ZvChar));
    to[length] = 0;
}

}  // namespace zv
