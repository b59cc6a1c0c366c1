// What the planted library does wrong, one thing for each line that it writes.
#pragma once

namespace kzr::bench {

// Named in this order by kFaultNames.
enum class PlantedFault {
    None,
    Line,   // a second one, as it should be
    Open,   // a second time, closed by other means
    Write,  // in two halves
    Close,  // of a handle that was got by other means
    HeapAlloc,
    Malloc,
    Calloc,
    Realloc,
    GlobalAlloc,
    CoTaskMemAlloc,
    Text,
    TextLen,
    TextByteLen,
};

inline constexpr const char* kFaultNames[] = {"none",
                                              "line",
                                              "open",
                                              "write",
                                              "close",
                                              "HeapAlloc",
                                              "malloc",
                                              "calloc",
                                              "realloc",
                                              "GlobalAlloc",
                                              "CoTaskMemAlloc",
                                              "SysAllocString",
                                              "SysAllocStringLen",
                                              "SysAllocStringByteLen"};

}  // namespace kzr::bench
