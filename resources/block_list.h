// The one list of the data blocks that the library carries: X(symbol, type, id, bytes, file below resources/).
#pragma once

#define ZVCLR_BLOCKS(X)                                                                                                \
    X(zvclrIcm105, "ICM", 105, 3144, "icm/105.icm")                                                                    \
    X(zvclrIcm106, "ICM", 106, 200182, "icm/106.icm")                                                                  \
    X(zvclrIcm107, "ICM", 107, 725436, "icm/107.icm")                                                                  \
    X(zvclrIcm110, "ICM", 110, 102000, "icm/110.icm")                                                                  \
    X(zvclrEt111, "ET", 111, 250563, "et/111.et")                                                                      \
    X(zvclrEt112, "ET", 112, 108300, "et/112.et")                                                                      \
    X(zvclrEt113, "ET", 113, 108300, "et/113.et")
