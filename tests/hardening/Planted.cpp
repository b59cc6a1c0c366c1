#include "Planted.h"

#include <gtest/gtest.h>

namespace kzr::test {

ComPtr<IDispatch> MakePlanted()
{
    wchar_t path[1024] = {};
    GetModuleFileNameW(nullptr, path, 1024);
    const std::wstring folder(path, std::wstring_view(path).rfind(L'\\') + 1);
    const HMODULE module = LoadLibraryW((folder + L"fakes\\PlantedBugs.dll").c_str());
    const FARPROC found = module ? GetProcAddress(module, "MakePlanted") : nullptr;
    ComPtr<IDispatch> object;
    if (found)
        reinterpret_cast<planted::MakePlanted>(reinterpret_cast<void*>(found))(object.put());
    else
        ADD_FAILURE() << "the planted bugs cannot be loaded: error " << GetLastError();
    return object;
}

}  // namespace kzr::test
