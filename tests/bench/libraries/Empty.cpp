// A library with nothing in it: the floor of loading one.
extern "C" __declspec(dllexport) void Nothing() {}
