// The resources that registration, the control and the system look for in the DLL.
#include <windows.h>
#include <gtest/gtest.h>

// Needs what stands above.
#include <winver.h>

#include <string>

#include "registration/Registry.h"
#include "registration/ServerModule.h"

namespace kzr::test {
namespace {

class Resources : public testing::Test {
  protected:
    std::wstring Text(UINT number) const
    {
        wchar_t text[100];
        const int length = LoadStringW(m_module.Get(), number, text, 100);
        return std::wstring(text, static_cast<size_t>(length));
    }
    bool Has(const wchar_t* type, int number) const
    {
        return FindResourceW(m_module.Get(), MAKEINTRESOURCEW(number), type) != nullptr;
    }

    const UniqueModule m_module{LoadLibraryExW(DllPath().c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE)};
};

TEST_F(Resources, TheTypeLibraryTheScriptsTheBitmapAndTheDialogsHaveTheirNumbers)
{
    EXPECT_TRUE(Has(L"TYPELIB", 1));
    for (int number = 103; number <= 107; ++number) EXPECT_TRUE(Has(L"REGISTRY", number)) << number;
    EXPECT_TRUE(Has(RT_BITMAP, 1));
    EXPECT_TRUE(Has(RT_DIALOG, 1));
    EXPECT_TRUE(Has(RT_DIALOG, 200));
}

TEST_F(Resources, TheTypeNamesAreInChinese)
{
    EXPECT_EQ(Text(1), L"USBKeyPnPActiveX \u63A7\u4EF6");
    EXPECT_EQ(Text(2), L"USBKeyPnPActiveX \u5C5E\u6027\u9875");
}

TEST_F(Resources, TheToolboxBitmapHasTheSizeOfAToolboxButton)
{
    const HANDLE image =
        LoadImageW(m_module.Get(), MAKEINTRESOURCEW(1), IMAGE_BITMAP, 0, 0, LR_CREATEDIBSECTION);
    ASSERT_NE(image, nullptr);
    BITMAP bitmap{};
    GetObjectW(image, sizeof(bitmap), &bitmap);
    EXPECT_EQ(bitmap.bmWidth, 16);
    EXPECT_EQ(bitmap.bmHeight, 16);
    DeleteObject(image);
}

TEST_F(Resources, TheVersionBlockNamesTheComponentAndAnOleServer)
{
    DWORD unused = 0;
    std::string block(GetFileVersionInfoSizeW(DllPath().c_str(), &unused), '\0');
    ASSERT_FALSE(block.empty());
    ASSERT_TRUE(GetFileVersionInfoW(DllPath().c_str(), 0, static_cast<DWORD>(block.size()), block.data()));
    wchar_t* text = nullptr;
    UINT length = 0;
    ASSERT_TRUE(VerQueryValueW(block.data(), L"\\StringFileInfo\\080404b0\\OriginalFilename",
                               reinterpret_cast<void**>(&text), &length));
    EXPECT_STREQ(text, L"KzrSecX_x64.dll");
    EXPECT_TRUE(VerQueryValueW(block.data(), L"\\StringFileInfo\\080404b0\\OLESelfRegister",
                               reinterpret_cast<void**>(&text), &length));
    VS_FIXEDFILEINFO* fixed = nullptr;
    ASSERT_TRUE(VerQueryValueW(block.data(), L"\\", reinterpret_cast<void**>(&fixed), &length));
    EXPECT_EQ(fixed->dwFileVersionMS, 0x00010000u);
    EXPECT_EQ(fixed->dwFileType, static_cast<DWORD>(VFT_DLL));
}

}  // namespace
}  // namespace kzr::test
