#include <cstring>

#include "host/ansi.h"
#include "host/host.h"

namespace {

constexpr ZvChar kSource[] = ZV_WIDE("host\\strings");

}  // namespace

Zv_A2W::~Zv_A2W() { HostFree(value_, __LINE__, kSource); }

int32_t Zv_A2W::Convert(const char* source) noexcept {
    HostFree(value_, __LINE__, kSource);
    value_ = nullptr;
    if (source == nullptr) return ERR_INVALID_PARAMETER;
    const size_t count = std::strlen(source) + 1;  // no encoding takes more 16-bit units than bytes
    auto* value = static_cast<ZvChar*>(HostAlloc(sizeof(ZvChar), static_cast<int64_t>(count), __LINE__, kSource));
    if (value == nullptr) return ERR_NO_MEMORY;
    if (!ZvWideFromAnsi(source, value, count)) {
        HostFree(value, __LINE__, kSource);
        return ERR_FAILURE;
    }
    value_ = value;
    return CLR_SUCCESS;
}

int32_t Zv_A2W::Convert(const char* source, ZvChar* destination, size_t count) noexcept {
    if (source == nullptr || destination == nullptr || count == 0) return ERR_INVALID_PARAMETER;
    if (ZvWideFromAnsi(source, destination, count)) return CLR_SUCCESS;
    destination[0] = 0;
    return ERR_FAILURE;
}

int32_t Zv_W2A::Convert(const ZvChar* source, char* destination, size_t count) noexcept {
    if (source == nullptr || destination == nullptr || count == 0) return ERR_INVALID_PARAMETER;
    if (ZvAnsiFromWide(source, destination, count)) return CLR_SUCCESS;
    destination[0] = 0;
    return ERR_FAILURE;
}

int32_t SAVEFILEOPTION_Conv::Begin() noexcept {
    value_ = nullptr;
    if (options_ == nullptr) return CLR_SUCCESS;
    if (IsBadReadPtr(options_, sizeof *options_)) return ERR_BAD_POINTER;
    if (options_->size != sizeof *options_) return ERR_STRUCT_SIZE;
    if (std::memchr(options_->backupName, 0, sizeof options_->backupName) == nullptr) return ERR_INVALID_PARAMETER;
    wide_.size = sizeof wide_;
    const int32_t result = Zv_A2W::Convert(options_->backupName, wide_.backupName, CLR_NAME_LENGTH);
    if (result == CLR_SUCCESS) value_ = &wide_;
    return result;
}
