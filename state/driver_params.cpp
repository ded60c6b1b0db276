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

DWORD WriteParamQword(const wchar_t* name, uint64_t number) noexcept {
    return WriteRegValue(HKEY_LOCAL_MACHINE, kDriverParametersKey, name, RegValue::Qword(number), false);
}

DWORD WriteParamText(const wchar_t* name, const wchar_t* text) noexcept {
    RegValue value;
    if (!value.SetString(text)) return ERROR_NOT_ENOUGH_MEMORY;
    return WriteRegValue(HKEY_LOCAL_MACHINE, kDriverParametersKey, name, value, false);
}

bool ReadParamStringList(const wchar_t* name, HeapText& list) noexcept {
    RegValue value;
    if (ReadRegValue(HKEY_LOCAL_MACHINE, kDriverParametersKey, name, value) != ERROR_SUCCESS) return false;
    if (value.type != REG_MULTI_SZ) return false;
    list = std::move(value.list);
    return true;
}
