#include "resources/resources.h"

#include "resources/block_list.h"

// The blocks' bytes go into the read-only data as they are. A file that is longer than listed stops the build, and a
// test finds a shorter one.
#define ZV_EMBED(symbol, type, id, bytes, file)                                                                        \
    __asm__(".pushsection .rodata\n.balign 16\n.globl " #symbol "\n.hidden " #symbol "\n" #symbol                      \
            ":\n.incbin \"" ZVCLR_RESOURCE_DIR "/" file "\"\n.org " #symbol " + " #bytes "\n.popsection");             \
    extern "C" __attribute__((visibility("hidden"))) const uint8_t symbol[bytes];
ZVCLR_BLOCKS(ZV_EMBED)
#undef ZV_EMBED

#define ZV_ENTRY(symbol, type, id, bytes, file) {u##type, id, bytes, symbol},
const ZvModuleResource zvclrOwnResources[] = {
    ZVCLR_BLOCKS(ZV_ENTRY){nullptr, 0, 0, nullptr},
};
#undef ZV_ENTRY
