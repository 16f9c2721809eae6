/* The blocks of the test modules; also read by the resource compiler. Lengths are odd, even and 1 on purpose. */
#ifndef ZVCLR_TESTS_RESOURCE_MODULE_H
#define ZVCLR_TESTS_RESOURCE_MODULE_H

#define ZV_TEST_PROFILE "profile 105"
#define ZV_TEST_TABLE "table number 111"
#define ZV_TEST_OTHER_PROFILE "x"

#endif
