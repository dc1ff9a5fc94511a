// What the tests of the framework's modules share: components by name, and the count of what they leave.
#pragma once

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <array>
#include <string>
#include <string_view>

#include "contract/Components.h"
#include "contract/Extensions.h"
#include "contract/Module.h"
#include "framework/FrameworkComponent.h"

inline tagREFString Record(std::wstring_view text) { return {static_cast<int>(text.size()), text.data()}; }
inline std::wstring TextOf(tagREFString text) { return {text.text, static_cast<std::size_t>(text.length)}; }

inline std::wstring TextOf(IString& string) {
    tagREFString text{0, nullptr};
    EXPECT_EQ(string.GetText(&text.text, &text.length), S_OK);
    return TextOf(text);
}

inline SmartPtr<IString> String(std::wstring_view text) { return CreateStringOf(Record(text)); }

/// Compares the objects alive before and after each test. What this program's and ROI.so's runtime cache
/// is made first.
class FrameworkTest : public testing::Test {
  protected:
    void SetUp() override {
        CREFString::CreateString();
        CREFString::CreateVariant();
        CREFString::CreateCollection();
        BASEObject::CreateParameters();
        CreateComponent<IUnknown>(Text(L"ROIMask"));
        m_before = Alive();
    }
    void TearDown() override { EXPECT_EQ(Alive(), m_before) << "objects were left alive"; }

    static std::array<int, 5> Alive() {
        return {gLiveObjects.load(), AliveIn("./Collections.so"), AliveIn("./CollectionsEx.so"), AliveIn("./CIF.so"),
                AliveIn("./Geometry.so")};
    }

  private:
    static int AliveIn(const char* module) {
        void* handle = dlopen(module, RTLD_NOW);
        const auto count = handle != nullptr ? reinterpret_cast<int (*)()>(dlsym(handle, "LiveObjects")) : nullptr;
        EXPECT_NE(count, nullptr) << module;
        return count != nullptr ? count() : -1;
    }

    std::array<int, 5> m_before{};
};

/// Runs a call that breaks the contract: it must fail and say so in one line.
template <class Call>
void ExpectMisuse(const char* what, Call call) {
    testing::internal::CaptureStderr();
    const Result code = call();
    const std::string said = testing::internal::GetCapturedStderr();
    EXPECT_TRUE(Failed(code)) << what;
    EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1) << what << ": " << said;
}
