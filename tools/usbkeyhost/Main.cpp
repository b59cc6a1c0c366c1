// usbkeyhost: shows the plug-and-play control in a window and prints what it says. Exit codes: 0 all went
// well, 1 the control could not be used, 2 the command line is wrong, 3 time was over before the events came.
#include <windows.h>

#include <shellapi.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <string>
#include <vector>

#include "Host.h"

namespace usbkeyhost {
namespace {

enum ExitCode { kOk = 0, kUnusable = 1, kUsage = 2, kTimeOver = 3 };

struct Options {
    std::vector<std::string> calls;    // each NAME[,ARGUMENT...]
    std::vector<std::string> onEvent;  // the same, at each event
    int events = 0;                    // 0: any number
    double seconds = 0;                // 0: any time
    bool properties = false;
};

void Say(const std::string& text)
{
    SYSTEMTIME now;
    GetLocalTime(&now);
    std::printf("%04d-%02d-%02d %02d:%02d:%02d.%03d %s\n", now.wYear, now.wMonth, now.wDay, now.wHour,
                now.wMinute, now.wSecond, now.wMilliseconds, text.c_str());
    std::fflush(stdout);
}

std::vector<std::string> SplitAtCommas(const std::string& text)
{
    std::vector<std::string> parts;
    for (std::size_t start = 0;;) {
        const std::size_t end = text.find(',', start);
        parts.push_back(text.substr(start, end - start));
        if (end == std::string::npos) return parts;
        start = end + 1;
    }
}

void RunCall(Host& host, const std::string& call)
{
    std::vector<std::string> parts = SplitAtCommas(call);
    const std::string name = parts.front();
    parts.erase(parts.begin());
    Say(call + " = \"" + host.Call(name, parts) + "\"");
}

// Until the events have come, the time is over or the window has been closed.
ExitCode Run(const Options& options)
{
    int seen = 0;
    std::string failed;
    Host* running = nullptr;
    Host host([&] {
        Say("event OnUSBKeyChange " + std::to_string(++seen));
        // What is thrown must not pass through the control.
        try {
            for (const std::string& call : options.onEvent) RunCall(*running, call);
        } catch (const std::exception& error) {
            failed = error.what();
        }
    });
    running = &host;
    Say("the control is ready");
    for (const std::string& call : options.calls) RunCall(host, call);
    if (options.properties) host.ShowProperties();
    // Calls alone need no waiting.
    if (!options.calls.empty() && options.events == 0 && options.seconds == 0) return kOk;

    const ULONGLONG started = GetTickCount64();
    const auto over = [&] {
        return options.seconds > 0 &&
               static_cast<double>(GetTickCount64() - started) >= options.seconds * 1000;
    };
    while (host.IsOpen() && failed.empty() && !over() && (options.events == 0 || seen < options.events)) {
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
            TranslateMessage(&message);
            DispatchMessageW(&message);
            if (options.events > 0 && seen >= options.events) break;
        }
        if (options.events == 0 || seen < options.events)
            MsgWaitForMultipleObjects(0, nullptr, FALSE, 50, QS_ALLINPUT);
    }
    if (!failed.empty()) throw std::runtime_error(failed);
    return options.events > 0 && seen < options.events ? kTimeOver : kOk;
}

ExitCode RunWithCom(const Options& options)
{
    const HRESULT started = OleInitialize(nullptr);
    if (FAILED(started)) throw HostError("COM could not be started", started);
    struct Ending {
        ~Ending() { OleUninitialize(); }
    } ending;
    return Run(options);
}

}  // namespace
}  // namespace usbkeyhost

int wmain(int argc, wchar_t** argv)
{
    using namespace usbkeyhost;
    SetConsoleOutputCP(CP_UTF8);

    Options options;
    CLI::App app("Shows the USB key control in a window and prints each of its events with its time.",
                 "usbkeyhost");
    app.add_option("-c,--call", options.calls, "Call a method once: NAME or NAME,ARGUMENT,...")
        ->type_name("CALL");
    app.add_option("-o,--on-event", options.onEvent, "Call a method at each event")->type_name("CALL");
    app.add_option("-n,--events", options.events, "End after this many events")
        ->check(CLI::Range(1, 1000000));
    app.add_option("-s,--seconds", options.seconds, "End after this many seconds")
        ->check(CLI::Range(0.001, 86400.0));
    app.add_flag("-p,--properties", options.properties, "Show the property page first");
    app.footer("Example: usbkeyhost --on-event getUserList --events 2 --seconds 60");

    std::vector<std::string> arguments;
    for (int i = argc - 1; i > 0; --i) arguments.push_back(ToUtf8(argv[i]));  // last to first
    try {
        app.parse(arguments);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? kOk : kUsage;
    }
    try {
        return RunWithCom(options);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "usbkeyhost: %s\n", error.what());
        return kUnusable;
    }
}
