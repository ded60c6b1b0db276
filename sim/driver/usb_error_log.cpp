#include "sim/driver/usb_error_log.h"

#include "sim/control/control_protocol.h"
#include "sim/driver/text.h"

namespace {

// \SystemRoot does not lead to the Windows folder on every platform that loads this driver.
constexpr wchar_t kFolders[][40] = {
    L"\\??\\C:\\windows\\system32\\QrvTavix",
    L"\\??\\C:\\windows\\system32\\QrvTavix\\usberr",
};
constexpr char kSeparator[] = "*========================================*\r\n";
constexpr ULONG kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

HANDLE g_heldLog;

bool Create(UNICODE_STRING& path, ACCESS_MASK access, ULONG sharing, ULONG disposition, ULONG options,
            KernelHandleOwner& file) {
    OBJECT_ATTRIBUTES attributes;
    InitializeObjectAttributes(&attributes, &path, OBJ_CASE_INSENSITIVE | OBJ_KERNEL_HANDLE, nullptr,
                               nullptr);
    IO_STATUS_BLOCK status;
    return NT_SUCCESS(ZwCreateFile(&file.handle, access | SYNCHRONIZE, &attributes, &status, nullptr,
                                   FILE_ATTRIBUTE_NORMAL, sharing, disposition,
                                   options | FILE_SYNCHRONOUS_IO_NONALERT, nullptr, 0));
}

void MakeFolders() {
    for (const auto& folder : kFolders) {
        UNICODE_STRING path;
        RtlInitUnicodeString(&path, folder);
        KernelHandleOwner handle;
        Create(path, FILE_LIST_DIRECTORY, kShareAll, FILE_OPEN_IF, FILE_DIRECTORY_FILE, handle);
    }
}

// The device's log, and the folders on the way to it, made when missing.
bool OpenLog(const wchar_t* instanceId, size_t idChars, ULONG sharing, KernelHandleOwner& file) {
    MakeFolders();
    TextBuilder<kSimIdChars + 80> path;
    path.Add(kFolders[1]).Add(L"\\usberr_");
    const size_t nameStart = path.length();
    path.Add(instanceId, idChars).Add(L".log");
    path.Replace(L'\\', L'#', nameStart);
    UNICODE_STRING name = path.Unicode();
    return Create(name, FILE_APPEND_DATA, sharing, FILE_OPEN_IF, FILE_NON_DIRECTORY_FILE, file);
}

size_t EncodeUtf8(const wchar_t* text, size_t length, uint8_t* out) {
    size_t bytes = 0;
    for (size_t i = 0; i < length; ++i) {
        uint32_t code = text[i];
        if (code >= 0xD800 && code < 0xDC00 && i + 1 < length && text[i + 1] >= 0xDC00 &&
            text[i + 1] < 0xE000)
            code = 0x10000 + ((code - 0xD800) << 10) + (text[++i] - 0xDC00u);
        if (code < 0x80) {
            out[bytes++] = static_cast<uint8_t>(code);
        } else if (code < 0x800) {
            out[bytes++] = static_cast<uint8_t>(0xC0 | code >> 6);
            out[bytes++] = static_cast<uint8_t>(0x80 | (code & 0x3F));
        } else if (code < 0x10000) {
            out[bytes++] = static_cast<uint8_t>(0xE0 | code >> 12);
            out[bytes++] = static_cast<uint8_t>(0x80 | (code >> 6 & 0x3F));
            out[bytes++] = static_cast<uint8_t>(0x80 | (code & 0x3F));
        } else {
            out[bytes++] = static_cast<uint8_t>(0xF0 | code >> 18);
            out[bytes++] = static_cast<uint8_t>(0x80 | (code >> 12 & 0x3F));
            out[bytes++] = static_cast<uint8_t>(0x80 | (code >> 6 & 0x3F));
            out[bytes++] = static_cast<uint8_t>(0x80 | (code & 0x3F));
        }
    }
    return bytes;
}

bool Append(const KernelHandleOwner& file, const void* data, size_t bytes) {
    LARGE_INTEGER atEnd;
    atEnd.HighPart = -1;
    atEnd.LowPart = FILE_WRITE_TO_END_OF_FILE;
    IO_STATUS_BLOCK status;
    return NT_SUCCESS(ZwWriteFile(file.handle, nullptr, nullptr, nullptr, &status, const_cast<void*>(data),
                                  static_cast<ULONG>(bytes), &atEnd, nullptr));
}

}  // namespace

bool AppendUsbErrorEpisode(const wchar_t* instanceId, size_t idChars, const wchar_t* text, size_t textChars) {
    KernelHandleOwner file;
    if (!OpenLog(instanceId, idChars, kShareAll, file)) return false;
    if (!Append(file, kSeparator, sizeof(kSeparator) - 1)) return false;
    const size_t length = TextLength(text, textChars);
    if (length == 0) return true;
    PoolPointer<uint8_t> bytes(length * 3);
    return bytes && Append(file, bytes.get(), EncodeUtf8(text, length, bytes.get()));
}

bool HoldUsbErrorLog(const wchar_t* instanceId, size_t idChars, bool locked) {
    ReleaseUsbErrorLog();
    if (TextLength(instanceId, idChars) == 0) return true;
    KernelHandleOwner file;
    if (!OpenLog(instanceId, idChars, locked ? 0 : kShareAll, file)) return false;
    g_heldLog = file.handle;
    file.handle = nullptr;
    return true;
}

void ReleaseUsbErrorLog() {
    if (g_heldLog != nullptr) ZwClose(g_heldLog);
    g_heldLog = nullptr;
}
