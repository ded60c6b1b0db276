#include "sim/viewer/registry_watch.h"

#include <utility>

RegistryWatch::RegistryWatch(std::wstring path)
    : path_(std::move(path)), changed_(CreateEventW(nullptr, FALSE, FALSE, nullptr)) {
    Arm();
}

void RegistryWatch::Arm() {
    if (!key_ && RegOpenKeyExW(HKEY_LOCAL_MACHINE, path_.c_str(), 0, KEY_NOTIFY, key_.put()) != ERROR_SUCCESS)
        return;
    constexpr DWORD kChanges = REG_NOTIFY_CHANGE_NAME | REG_NOTIFY_CHANGE_LAST_SET;
    RegNotifyChangeKeyValue(key_.get(), TRUE, kChanges, changed_.get(), TRUE);
}
