#include "registration/ServerModule.h"

#include <cstring>
#include <stdexcept>

namespace kzr::test {

ServerModule::ServerModule(const std::wstring& path) : m_module(LoadLibraryW(path.c_str()))
{
    if (!m_module) throw std::runtime_error("the DLL under test does not load");
}

HRESULT ServerModule::Call(const char* entryPoint) const
{
    const auto function = reinterpret_cast<HRESULT(WINAPI*)()>(GetProcAddress(m_module.Get(), entryPoint));
    if (!function) throw std::runtime_error(std::string("the DLL under test does not export ") + entryPoint);
    return function();
}

ImportHook::ImportHook(HMODULE module, const char* function, void* replacement)
{
    auto* base = reinterpret_cast<BYTE*>(module);
    const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* nt = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
    const DWORD imports = nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
    for (auto* from = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + imports); from->Name; ++from) {
        auto* name = reinterpret_cast<const IMAGE_THUNK_DATA*>(base + from->OriginalFirstThunk);
        auto* slot = reinterpret_cast<void**>(base + from->FirstThunk);
        for (; name->u1.AddressOfData; ++name, ++slot) {
            if (IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal)) continue;
            const auto* byName = reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + name->u1.AddressOfData);
            if (std::strcmp(byName->Name, function) == 0) m_slot = slot;
        }
    }
    if (!m_slot) throw std::runtime_error(std::string("the DLL under test does not import ") + function);
    m_original = *m_slot;
    Put(replacement);
}

ImportHook::~ImportHook() { Put(m_original); }

void ImportHook::Put(void* function)
{
    DWORD before = 0;
    VirtualProtect(m_slot, sizeof(void*), PAGE_READWRITE, &before);
    *m_slot = function;
    VirtualProtect(m_slot, sizeof(void*), before, &before);
}

}  // namespace kzr::test
