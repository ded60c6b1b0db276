// The replies of a driver that answers nonsense.
#pragma once

#include <random>

#include "tests/torture/interception.h"

// Answers one DeviceIoControl call. Only a request that reads may reach the real driver, whose reply is then
// spoiled.
uint64_t TellLie(const InterceptedCall& call, bool mayAskDriver, std::mt19937& random);
