// The one figure that is derived from the Flowpath statistics record alone.
#pragma once

#include <cstdint>

// How full a buffer of the Flowpath has been, in percent of its limit; 0 without a limit. The product wraps
// around at 32 bits.
constexpr uint32_t FlowpathBufferPercent(uint32_t peakBytes, uint32_t limitBytes) noexcept {
    return limitBytes == 0 ? 0 : peakBytes * 100 / limitBytes;
}
