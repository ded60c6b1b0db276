#include "tests/torture/lies.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr DWORD kErrors[] = {ERROR_DEVICE_NOT_CONNECTED, ERROR_ACCESS_DENIED,
                             ERROR_INVALID_FUNCTION,     ERROR_MORE_DATA,
                             ERROR_FILE_NOT_FOUND,       ERROR_GEN_FAILURE};

enum Style { kNoise, kOnes, kZeros, kEndlessText, kSmallNumbers, kSpoiled, kStyles };

uint32_t UpTo(std::mt19937& random, uint32_t last) {
    return std::uniform_int_distribution<uint32_t>(0, last)(random);
}

// Any byte, except that no character of a script that has to be shaped comes about: this platform's own
// rendering of random ones crashes.
uint8_t Noise(uint32_t index, std::mt19937& random) {
    const auto byte = static_cast<uint8_t>(random());
    const bool isShaped = (byte >= 0x03 && byte <= 0x1F) || (byte >= 0xA6 && byte <= 0xAB) || byte >= 0xFB;
    return index % 2 == 1 && isShaped ? uint8_t{0} : byte;
}

void Fill(Style style, uint8_t* bytes, uint32_t count, std::mt19937& random) {
    for (uint32_t i = 0; i < count; ++i) {
        switch (style) {
            case kNoise:
                bytes[i] = Noise(i, random);
                break;
            case kOnes:
                bytes[i] = 0xFF;
                break;
            case kEndlessText:
                bytes[i] = i % 2 == 0 ? static_cast<uint8_t>('A' + i / 2 % 26) : 0;
                break;
            case kSmallNumbers:
                bytes[i] = i % 4 == 0 ? static_cast<uint8_t>(random() % 12) : 0;
                break;
            default:
                bytes[i] = 0;
                break;
        }
    }
}

// A few bytes of the true reply are wrong.
void Spoil(uint8_t* bytes, uint32_t count, std::mt19937& random) {
    for (uint32_t i = 0; count != 0 && i < 4; ++i) {
        const uint32_t place = UpTo(random, count - 1);
        bytes[place] = Noise(place, random);
    }
}

}  // namespace

// DeviceIoControl(device, code, input, inputBytes, output, outputBytes, returned, overlapped)
uint64_t TellLie(const InterceptedCall& call, bool mayAskDriver, std::mt19937& random) {
    auto* const output = reinterpret_cast<uint8_t*>(call.arguments[4]);
    const auto room = static_cast<uint32_t>(call.arguments[5]);
    auto* const returned = reinterpret_cast<DWORD*>(call.arguments[6]);
    if (UpTo(random, 7) == 0) {
        *returned = UpTo(random, room);
        SetLastError(kErrors[UpTo(random, std::size(kErrors) - 1)]);
        return FALSE;
    }
    // Half of the replies have the right length, the others any up to twice the room.
    const uint32_t claimed = UpTo(random, 1) == 0 ? room : UpTo(random, 2 * room);
    const uint32_t came = std::min(claimed, room);
    const auto style = static_cast<Style>(UpTo(random, kStyles - 1));
    if (style == kSpoiled && mayAskDriver && call.Proceed() != FALSE)
        Spoil(output, came, random);
    else
        Fill(style, output, came, random);
    *returned = claimed;
    return TRUE;
}
