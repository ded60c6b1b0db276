// Words that stand for the numbers of the driver's records.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "driver/protocol.h"

struct Word {
    uint32_t number;
    const char* word;
};

inline constexpr Word kLifemodeWords[] = {
    {kLifemodeTemporal, "temporal"}, {kLifemodeFriendly, "friendly"}, {kLifemodePersistent, "persistent"}};
inline constexpr Word kBindModeWords[] = {{kBindSequential, "sequential"},
                                          {kBindByDeviceType, "device-type"},
                                          {kBindBySerialNumber, "serial-number"},
                                          {kBindByUsbPort, "usb-port"}};
inline constexpr Word kPrefetchWords[] = {{kPrefetchNone, "none"},
                                          {kPrefetchAndDiscard, "discard"},
                                          {kPrefetchAndRecycle, "recycle"},
                                          {kPrefetchAndPreserve, "preserve"}};
inline constexpr Word kDatapipeWords[] = {
    {kDatapipeNever, "never"}, {kDatapipeOnDevicePresent, "device-present"}, {kDatapipeAlways, "always"}};
inline constexpr Word kPortStateWords[] = {{kPortFree, "free"},
                                           {kPortOfOtherProvider, "other-provider"},
                                           {kPortOfUnpluggedVcom, "unplugged"},
                                           {kPortOfPresentDevice, "present"},
                                           {kPortOfThisVcom, "this"}};
inline constexpr Word kSpeedWords[] = {
    {kUsbFullSpeed, "full"}, {kUsbHighSpeed, "high"}, {kUsbSuperSpeed, "super"}};

// The number itself as text when no word stands for it.
std::string WordOf(std::span<const Word> words, uint32_t number);
// A word, or the number as text; nothing for anything else.
std::optional<uint32_t> NumberOf(std::span<const Word> words, const std::string& text);
// "a, b, c", for messages.
std::string AllWords(std::span<const Word> words);
