// Shows a settings dialog of the shared library and prints what it hands back: `show_dialog cmyk|lab [WINDOW-NUMBER]`.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "zvclr.h"

namespace {

constexpr int32_t kCmykType = 1;
constexpr int32_t kLabType = 2;

void printName(const char* what, const ZvChar (&name)[CLR_NAME_LENGTH]) {
    std::printf("%s \"", what);
    for (int i = 0; i < CLR_NAME_LENGTH && name[i] != 0; ++i)
        std::putchar(name[i] < 0x80 ? static_cast<int>(name[i]) : '?');
    std::puts("\"");
}

}  // namespace

int main(int argc, char** argv) {
    const bool cmyk = argc > 1 && std::strcmp(argv[1], "cmyk") == 0;
    const bool lab = argc > 1 && std::strcmp(argv[1], "lab") == 0;
    if ((!cmyk && !lab) || argc > 3) {
        std::fputs("usage: show_dialog cmyk|lab [WINDOW-NUMBER]\n", stderr);
        return 2;
    }
    const size_t parent = argc == 3 ? static_cast<size_t>(std::strtoull(argv[2], nullptr, 0)) : 0;
    ClrWhitePoint white = {};
    ClrCmykParams inks = {};
    ClrParams params = {};
    params.whitePoint = &white;
    params.cmykParams = &inks;
    ClrHandle* converter = nullptr;
    const int32_t result = Zv_ClrDlg(cmyk ? kCmykType : kLabType, reinterpret_cast<void*>(parent), &converter, &params);
    std::printf("result %d\n", static_cast<int>(result));
    std::printf("converter %s\n", converter != nullptr ? "made" : "none");
    if (converter != nullptr) {
        // From a pixel the order of its bytes can be told.
        const uint8_t pixel[3] = {255, 128, 0};
        uint8_t ink[4] = {};
        if (Zv_ClrConvert(converter, pixel, ink, 1, 1, 0, 0) == CLR_SUCCESS) {
            std::printf("pixel %d %d %d %d\n", int{ink[0]}, int{ink[1]}, int{ink[2]}, int{ink[3]});
        }
        Zv_ClrFree(converter);
    }
    std::printf("size %u\n", static_cast<unsigned>(params.size));
    std::printf("activeMethod %u\n", static_cast<unsigned>(params.activeMethod));
    std::printf("methods %u\n", static_cast<unsigned>(params.methods));
    std::printf("whiteCode %u\n", static_cast<unsigned>(white.whiteCode));
    std::printf("gcrLevel %d\n", static_cast<int>(inks.gcrLevel));
    printName("input", params.inputProfileName);
    printName("output", params.outputProfileName);
    printName("table", params.emulationTableName);
    return 0;
}
