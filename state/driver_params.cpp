#include "state/driver_params.h"

#include <utility>

#include "state/registry.h"

DWORD ReadParamDword(const wchar_t* name, DWORD defaultNumber) noexcept {
    RegValue value;
    if (ReadRegValue(HKEY_LOCAL_MACHINE, kDriverParametersKey, name, value) != ERROR_SUCCESS)
        return defaultNumber;
    return value.type == REG_DWORD ? value.number32 : defaultNumber;
}

DWORD WriteParamDword(const wchar_t* name, DWORD number) noexcept {
    return WriteRegValue(HKEY_LOCAL_MACHINE, kDriverParametersKey, name, RegValue::Dword(number), false);
}

std::optional<std::vector<std::wstring>> ReadParamStringList(const wchar_t* name) noexcept {
    RegValue value;
    if (ReadRegValue(HKEY_LOCAL_MACHINE, kDriverParametersKey, name, value) != ERROR_SUCCESS)
        return std::nullopt;
    if (value.type != REG_MULTI_SZ) return std::nullopt;
    return std::move(value.list);
}
