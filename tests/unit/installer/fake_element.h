// The class-install and install parameters of one element, as the device installer would keep them.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "base/windows_api.h"

#include <setupapi.h>

#include "tests/support/import_redirect.h"

class FakeElement {
  public:
    inline static const HDEVINFO kSet = reinterpret_cast<HDEVINFO>(0x5151);

    SP_DEVINFO_DATA data = {sizeof(SP_DEVINFO_DATA)};

    // Class-install parameters; empty: none are set.
    std::vector<BYTE> classParams;
    DWORD classParamsError = ERROR_NO_CLASSINSTALL_PARAMS;
    bool classParamsWritable = true;
    int classParamsWrites = 0;
    DWORD classParamsReadBytes = 0;  // size of the buffer last offered
    DWORD classParamsHeaderBytes = 0;

    DWORD flagsEx = 0;
    bool installParamsReadable = true;
    bool installParamsWritable = true;
    int installParamsWrites = 0;

    template <typename Params>
    void SetClassParams(const Params& params) {
        const auto* bytes = reinterpret_cast<const BYTE*>(&params);
        classParams.assign(bytes, bytes + sizeof(params));
    }
    template <typename Params>
    Params ClassParams() const {
        Params params = {};
        std::memcpy(&params, classParams.data(), std::min(sizeof(params), classParams.size()));
        return params;
    }

  private:
    static BOOL Fail(DWORD error) {
        SetLastError(error);
        return FALSE;
    }

    ReplacedCall<SetupDiGetClassInstallParamsW> getClassParams_{
        "SetupDiGetClassInstallParamsW",
        [this](HDEVINFO, SP_DEVINFO_DATA*, SP_CLASSINSTALL_HEADER* header, DWORD bytes, DWORD*) {
            classParamsReadBytes = bytes;
            classParamsHeaderBytes = header->cbSize;
            if (classParams.empty()) return Fail(classParamsError);
            if (classParams.size() > bytes) return Fail(ERROR_INSUFFICIENT_BUFFER);
            std::memcpy(header, classParams.data(), classParams.size());
            return TRUE;
        }};
    ReplacedCall<SetupDiSetClassInstallParamsW> setClassParams_{
        "SetupDiSetClassInstallParamsW",
        [this](HDEVINFO set, SP_DEVINFO_DATA* element, SP_CLASSINSTALL_HEADER* header, DWORD bytes) {
            EXPECT_EQ(set, kSet);
            EXPECT_EQ(element, &data);
            ++classParamsWrites;
            if (!classParamsWritable) return Fail(ERROR_ACCESS_DENIED);
            const auto* content = reinterpret_cast<const BYTE*>(header);
            classParams.assign(content, content + bytes);
            return TRUE;
        }};
    ReplacedCall<SetupDiGetDeviceInstallParamsW> getInstallParams_{
        "SetupDiGetDeviceInstallParamsW", [this](HDEVINFO, SP_DEVINFO_DATA*, SP_DEVINSTALL_PARAMS_W* params) {
            EXPECT_EQ(params->cbSize, sizeof(*params));
            if (!installParamsReadable) return Fail(ERROR_ACCESS_DENIED);
            params->FlagsEx = flagsEx;
            return TRUE;
        }};
    ReplacedCall<SetupDiSetDeviceInstallParamsW> setInstallParams_{
        "SetupDiSetDeviceInstallParamsW", [this](HDEVINFO, SP_DEVINFO_DATA*, SP_DEVINSTALL_PARAMS_W* params) {
            ++installParamsWrites;
            if (!installParamsWritable) return Fail(ERROR_ACCESS_DENIED);
            flagsEx = params->FlagsEx;
            return TRUE;
        }};
};
