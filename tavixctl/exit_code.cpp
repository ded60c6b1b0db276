#include "tavixctl/exit_code.h"

#include "base/windows_api.h"
#include "driver/error_names.h"
#include "driver/protocol.h"
#include "tavixctl/text.h"

namespace {

ExitCode CodeOfWinError(DWORD error) {
    switch (error) {
        case ERROR_ACCESS_DENIED:
            return ExitCode::kDenied;
        case ERROR_NOT_READY:
            return ExitCode::kDriverNotReady;
        default:
            return ExitCode::kRequestFailed;
    }
}

ExitCode CodeOfUfAppErr(uint32_t result) {
    switch (result) {
        case UfAppErr_VbusNotReady:
            return ExitCode::kDriverNotReady;
        case UfAppErr_AccessDenied:
            return ExitCode::kDenied;
        case UfAppErr_WrongHuid:
            return ExitCode::kNoSuchDevice;
        default:
            return ExitCode::kRequestFailed;
    }
}

}  // namespace

void RequireSuccess(unsigned long winError, const std::string& what) {
    if (winError == ERROR_SUCCESS) return;
    throw Failure(CodeOfWinError(winError), what + " failed. WinErr=" + std::to_string(winError) + "(" +
                                                Utf8(WinErrName(winError)) + ")");
}

void RequireUfSuccess(unsigned int ufAppErr, const std::string& what) {
    if (ufAppErr == UfAppErr_Success) return;
    throw Failure(CodeOfUfAppErr(ufAppErr), what + " failed. UfAppErr=" + std::to_string(ufAppErr) + "(" +
                                                Utf8(UfAppErrName(ufAppErr)) + ")");
}
