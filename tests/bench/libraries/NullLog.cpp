// A log library that drops every line: what is left is the cost of everything but the log.
extern "C" {
__declspec(dllexport) void LogInitializeA(const char*) {}
__declspec(dllexport) void LogOutputA(const char*, const char*, unsigned, int, const char*) {}
__declspec(dllexport) void LogOutputW() {}
__declspec(dllexport) void LogTerminateA() {}
}
