#include "ui/activation_context.h"

#include <commctrl.h>

#include "base/module.h"
#include "base/win32_handle.h"

namespace {

using InitCommonControlsFunction = void(WINAPI*)();

struct ActivationContextTraits {
    using Handle = HANDLE;
    static Handle Invalid() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Handle handle) noexcept { ReleaseActCtx(handle); }
};
using OwnedActivationContext = OwnedHandle<ActivationContextTraits>;

// Tried when the loader made no context from the module's manifest resource 2.
constexpr WORD kSecondManifestId = 3;
// A bare name, because only that is redirected to the version that the context asks for. The module imports
// the same library, so the system has always loaded one of that name already.
constexpr wchar_t kCommonControlsLibrary[] = L"Comctl32.dll";

struct ModuleContext {
    bool settled = false;
    bool cleanedUp = false;
    HANDLE handle = nullptr;       // null: the process's default context
    OwnedActivationContext owned;  // the same handle when we made the context, not the loader
    LoadedLibrary commonControls;
    InitCommonControlsFunction initCommonControls = nullptr;
};
ModuleContext g_module;

// Active until the end of the scope. Deactivating keeps the thread's last error.
class ActiveContext {
  public:
    explicit ActiveContext(HANDLE context) noexcept : active_(ActivateActCtx(context, &cookie_)) {}
    ActiveContext(const ActiveContext&) = delete;
    ActiveContext& operator=(const ActiveContext&) = delete;
    ~ActiveContext() {
        if (!active_) return;
        const DWORD lastError = GetLastError();
        DeactivateActCtx(0, cookie_);
        SetLastError(lastError);
    }
    explicit operator bool() const noexcept { return active_; }

  private:
    ULONG_PTR cookie_ = 0;
    bool active_;
};

// *context is null when the loader made none for this module.
bool FindLoadersContext(HANDLE* context) noexcept {
    ACTIVATION_CONTEXT_BASIC_INFORMATION information = {};
    // With this flag the handle's parameter takes an address.
    if (!QueryActCtxW(QUERY_ACTCTX_FLAG_ACTCTX_IS_ADDRESS | QUERY_ACTCTX_FLAG_NO_ADDREF, &g_module, nullptr,
                      ActivationContextBasicInformation, &information, sizeof(information), nullptr))
        return false;
    *context = information.hActCtx;
    return true;
}

bool IsMissingResource(DWORD error) noexcept {
    return error == ERROR_RESOURCE_DATA_NOT_FOUND || error == ERROR_RESOURCE_TYPE_NOT_FOUND ||
           error == ERROR_RESOURCE_NAME_NOT_FOUND || error == ERROR_RESOURCE_LANG_NOT_FOUND;
}

// True with an empty `context` when the module has no such manifest.
bool MakeContext(OwnedActivationContext& context) noexcept {
    wchar_t path[MAX_PATH] = {};
    const DWORD length = GetModuleFileNameW(ModuleInstance(), path, MAX_PATH);
    if (length == 0) return false;
    if (length >= MAX_PATH) {
        SetLastError(ERROR_BUFFER_OVERFLOW);
        return false;
    }
    ACTCTXW request = {};
    request.cbSize = sizeof(request);
    request.dwFlags = ACTCTX_FLAG_RESOURCE_NAME_VALID | ACTCTX_FLAG_HMODULE_VALID;
    request.lpSource = path;
    request.hModule = ModuleInstance() != nullptr ? ModuleInstance() : GetModuleHandleW(nullptr);
    request.lpResourceName = MAKEINTRESOURCEW(kSecondManifestId);
    context.reset(CreateActCtxW(&request));
    return context || IsMissingResource(GetLastError());
}

// Makes sure that the redirected version is the one that is bound. The context is used even when this fails.
void LoadRedirectedCommonControls() noexcept {
    const ActiveContext active(g_module.handle);
    if (!active) return;
    ACTCTX_SECTION_KEYED_DATA found = {};
    found.cbSize = sizeof(found);
    if (FindActCtxSectionStringW(0, nullptr, ACTIVATION_CONTEXT_SECTION_DLL_REDIRECTION,
                                 kCommonControlsLibrary, &found))
        g_module.commonControls.reset(LoadLibraryW(kCommonControlsLibrary));
}

// False, with the reason as the last error, when there is no context to use; the next use tries again.
bool SettleContext() noexcept {
    if (g_module.cleanedUp) {
        OutputDebugStringA("IsolationAware function called after IsolationAwareCleanup\n");
        g_module.cleanedUp = false;
    }
    if (g_module.settled) return true;
    HANDLE handle = nullptr;
    OwnedActivationContext owned;
    if (!FindLoadersContext(&handle)) return false;
    if (handle == nullptr) {
        if (!MakeContext(owned)) return false;
        if (owned) handle = owned.get();
    }
    g_module.handle = handle;
    g_module.owned = std::move(owned);
    g_module.settled = true;
    LoadRedirectedCommonControls();
    return true;
}

// Runs `call` with the context active, or returns `failure`.
template <typename Result, typename Call>
Result CallInContext(Result failure, Call call) noexcept {
    if (!SettleContext()) return failure;
    const ActiveContext active(g_module.handle);
    if (!active) return failure;
    return call();
}

// Called with the context active.
FARPROC FindInCommonControls(const char* name) noexcept {
    LoadedLibrary& controls = g_module.commonControls;
    if (!controls) controls.reset(LoadLibraryW(kCommonControlsLibrary));
    return controls ? GetProcAddress(controls.get(), name) : nullptr;
}

InitCommonControlsFunction FindInitCommonControls() noexcept {
    if (g_module.initCommonControls == nullptr)
        g_module.initCommonControls =
            reinterpret_cast<InitCommonControlsFunction>(FindInCommonControls("InitCommonControls"));
    return g_module.initCommonControls;
}

}  // namespace

void IsolationAwareInitCommonControls() noexcept {
    CallInContext(false, [] {
        const InitCommonControlsFunction initCommonControls = FindInitCommonControls();
        if (initCommonControls == nullptr) return false;
        initCommonControls();
        return true;
    });
}

HPROPSHEETPAGE IsolationAwareCreatePropertySheetPageW(const PROPSHEETPAGEW* description) noexcept {
    return CallInContext(HPROPSHEETPAGE{nullptr},
                         [description] { return CreatePropertySheetPageW(description); });
}

INT_PTR IsolationAwareDialogBoxParamW(HINSTANCE instance, const wchar_t* templateName, HWND owner,
                                      DLGPROC procedure, LPARAM initParam) noexcept {
    return CallInContext(
        INT_PTR{-1}, [=] { return DialogBoxParamW(instance, templateName, owner, procedure, initParam); });
}

INT_PTR IsolationAwareDialogBoxIndirectParamW(HINSTANCE instance, const DLGTEMPLATE* dialogTemplate,
                                              HWND owner, DLGPROC procedure, LPARAM initParam) noexcept {
    return CallInContext(INT_PTR{-1}, [=] {
        return DialogBoxIndirectParamW(instance, dialogTemplate, owner, procedure, initParam);
    });
}

FARPROC IsolationAwareCommonControlsFunction(const char* name) noexcept {
    return CallInContext(FARPROC{nullptr}, [name] { return FindInCommonControls(name); });
}

HMODULE IsolationAwareLoadLibraryW(const wchar_t* fileName) noexcept {
    return CallInContext(HMODULE{nullptr}, [fileName] { return LoadLibraryW(fileName); });
}

void IsolationAwareCleanup() noexcept {
    g_module = ModuleContext{};
    g_module.cleanedUp = true;
}
