// The headers of a DLL and the names that it exports. Every place in the file is checked before it is read:
// the file may be anything.
#include "registration/ServerFile.h"

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <optional>

namespace kzr::softkey {
namespace {

constexpr std::string_view kExports[] = {"DllGetClassObject", "DllRegisterServer", "DllUnregisterServer"};
// Far more than linkers make; looking through a file that claims all that it can would take minutes.
constexpr unsigned kMostSections = 1000;
constexpr DWORD kMostNames = 65536;

class Image {
  public:
    explicit Image(View content) : m_content(content) {}

    bool IsServer()
    {
        return ReadHeaders() && std::ranges::all_of(kExports, [this](auto name) { return Exports(name); });
    }

  private:
    template <typename Part>
    std::optional<Part> At(std::size_t place) const
    {
        if (place > m_content.size() || m_content.size() - place < sizeof(Part)) return std::nullopt;
        Part part;
        std::memcpy(&part, m_content.data() + place, sizeof part);
        return part;
    }

    bool ReadHeaders()
    {
        const auto dos = At<IMAGE_DOS_HEADER>(0);
        if (!dos || dos->e_magic != IMAGE_DOS_SIGNATURE || dos->e_lfanew < 0) return false;
        const auto place = static_cast<std::size_t>(dos->e_lfanew);
        const auto headers = At<IMAGE_NT_HEADERS64>(place);
        if (!headers || headers->Signature != IMAGE_NT_SIGNATURE ||
            headers->FileHeader.Machine != IMAGE_FILE_MACHINE_AMD64 ||
            (headers->FileHeader.Characteristics & IMAGE_FILE_DLL) == 0 ||
            headers->OptionalHeader.Magic != IMAGE_NT_OPTIONAL_HDR64_MAGIC ||
            headers->OptionalHeader.NumberOfRvaAndSizes <= IMAGE_DIRECTORY_ENTRY_EXPORT)
            return false;
        m_sections =
            place + offsetof(IMAGE_NT_HEADERS64, OptionalHeader) + headers->FileHeader.SizeOfOptionalHeader;
        m_sectionCount = headers->FileHeader.NumberOfSections;
        if (m_sectionCount > kMostSections) return false;
        const auto directory = At<IMAGE_EXPORT_DIRECTORY>(
            PlaceOf(headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT].VirtualAddress));
        if (!directory) return false;
        m_names = PlaceOf(directory->AddressOfNames);
        m_nameCount = directory->NumberOfNames;
        return m_nameCount <= kMostNames;
    }

    // Where in the file an address of the loaded image lies; the file's end for one that does not.
    std::size_t PlaceOf(DWORD address) const
    {
        for (unsigned i = 0; i < m_sectionCount; ++i) {
            const auto section = At<IMAGE_SECTION_HEADER>(m_sections + i * sizeof(IMAGE_SECTION_HEADER));
            if (!section) break;
            if (address >= section->VirtualAddress &&
                address - section->VirtualAddress < section->SizeOfRawData)
                return std::min(std::size_t{section->PointerToRawData} + (address - section->VirtualAddress),
                                m_content.size());
        }
        return m_content.size();
    }

    bool Exports(std::string_view name) const
    {
        for (DWORD i = 0; i < m_nameCount; ++i) {
            const auto address = At<DWORD>(m_names + std::size_t{i} * sizeof(DWORD));
            if (!address) return false;
            const std::string_view rest = TextOf(m_content.subspan(PlaceOf(*address)));
            if (rest.size() > name.size() && rest.starts_with(name) && rest[name.size()] == '\0') return true;
        }
        return false;
    }

    const View m_content;
    std::size_t m_sections = 0, m_names = 0;
    unsigned m_sectionCount = 0;
    DWORD m_nameCount = 0;
};

}  // namespace

bool IsServerFile(View content) { return Image(content).IsServer(); }

}  // namespace kzr::softkey
