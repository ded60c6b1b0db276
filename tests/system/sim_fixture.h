// The simulated bus, running and in its initial state before and after each test. It is installed before the
// first test of the program and removed after the last one, unless it was there before.
#pragma once

#include <gtest/gtest.h>

#include "sim/client/plugging.h"

class SimulatedBusTest : public testing::Test {
  protected:
    void SetUp() override;
    void TearDown() override;

    // The product's way to the bus: its device interface. Invalid with the last error set.
    static FileHandle OpenBus(DWORD access = GENERIC_READ | GENERIC_WRITE);
    // One request through a handle; the error, 0 for success.
    static DWORD Request(const FileHandle& bus, uint32_t code, const void* input, DWORD inputBytes,
                         void* output, DWORD outputBytes, DWORD* returnedBytes = nullptr);
    // One request through a handle of its own.
    static DWORD Request(uint32_t code, const void* input, DWORD inputBytes, void* output, DWORD outputBytes,
                         DWORD* returnedBytes = nullptr);
    static DeviceName_st Name(std::wstring_view text);

    // Plugs without a device node of its own: what the driver is told, and its VCOM.
    SimDeviceState_st Plug(const UsbIdentity& identity = {}, const PlugOptions& options = {});

    SimulatedDriver driver_;
};
