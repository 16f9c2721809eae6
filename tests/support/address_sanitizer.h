/* ZV_WITH_ADDRESS_SANITIZER is defined in builds with the address sanitizer, whichever the compiler; C and C++. */
#ifndef ZV_TESTS_ADDRESS_SANITIZER_H
#define ZV_TESTS_ADDRESS_SANITIZER_H

#if defined(__SANITIZE_ADDRESS__)
#    define ZV_WITH_ADDRESS_SANITIZER
#elif defined(__has_feature)
#    if __has_feature(address_sanitizer)
#        define ZV_WITH_ADDRESS_SANITIZER
#    endif
#endif

#endif
