// The session this loaded DLL shares among every object of the class and the panel. It is built
// on first use, in buildSession below, and lives until the process ends (the DLL pins itself in
// memory then, so COM's unloading of idle servers cannot take the session away).
//
// SYNTHOR_UNATTENDED_LOG=PATH: message boxes and file dialogs are not shown; each is appended
// to PATH as a line (`msgbox STYLE "TITLE" "TEXT"`, `dialog cancel`) and answered as the
// command-line tool answers them: Cancel for a retry/cancel box, OK for any other; every file
// dialog is cancelled.
// SYNTHOR_TRACE=PATH: the wire trace of every driver call is appended to PATH.
// SYNTHOR_COALESCE=1: plan uploads, FM tables and complex plans go out in joined writes.
#include <cstdlib>
#include <fstream>
#include <memory>

#include "automation/com/server.hpp"
#include "link/driver_library.hpp"
#include "link/trace.hpp"
#include "panel/handlers.hpp"
#include "panel/win32/win32_panel.hpp"
#include "runtime/win32/wide_text.hpp"
#include "runtime/win32/win32_prompts.hpp"

namespace synthor::com {
namespace {

// An environment setting of the process, empty when unset.
std::string setting(const wchar_t* name) {
    const wchar_t* value = _wgetenv(name);
    return value ? win32::narrow(value) : std::string();
}

// The driver library beside this DLL if there is one there, else the system's, as an
// installed driver is found.
DriverLoad loadDriver() {
    std::wstring path = modulePath();
    path.resize(path.find_last_of(L"\\/") + 1);
    path += L"ftd2xx.dll";
    if (GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES) {
        return loadDriverLibrary(win32::narrow(path));
    }
    return loadDriverLibrary();
}

std::shared_ptr<std::ofstream> appendFile(const std::string& path) {
    return std::make_shared<std::ofstream>(path, std::ios::binary | std::ios::app);
}

// The one place where the session is built: prompts, clock, driver, and what the panel adds.
Session* buildSession() {
    static SystemClock clock;
    Prompts* prompts = nullptr;
    if (const std::string log = setting(L"SYNTHOR_UNATTENDED_LOG"); !log.empty()) {
        static const std::shared_ptr<std::ofstream> file = appendFile(log);
        static LoggedPrompts logged(*file);
        prompts = &logged;
    } else {
        static win32::Win32Prompts shown;
        prompts = &shown;
    }

    d2xx::DriverTable driver = loadDriver().table;
    if (const std::string trace = setting(L"SYNTHOR_TRACE"); !trace.empty()) {
        driver = traced(std::move(driver), streamTraceSink(appendFile(trace)));
    }

    auto* session = new Session(std::move(driver), *prompts, clock);
    session->link.Coalesce = setting(L"SYNTHOR_COALESCE") == "1";
    // The panel's event handlers and its Win32 window (ShowUI, EEPROMdata).
    win32::attachWin32Panel(*session, panel::attachHandlers(*session));

    // Never unloaded from now on: the session and the driver library stay for the process.
    HMODULE pinned = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
                       reinterpret_cast<LPCWSTR>(&buildSession), &pinned);
    return session;
}

}  // namespace

Session& moduleSession() {
    static Session* const session = buildSession();
    return *session;
}

}  // namespace synthor::com
