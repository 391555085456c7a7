// Error objects and the thread that each belongs to.
#include <gtest/gtest.h>

#include <thread>

#include <bvschema/platform.h>

namespace {

/// Makes an error object with that text the calling thread's.
void Raise(const wchar_t* text) {
    ICreateErrorInfo* made = nullptr;
    ASSERT_EQ(CreateErrorInfo(&made), S_OK);
    EXPECT_EQ(made->SetDescription(const_cast<LPOLESTR>(text)), S_OK);
    IErrorInfo* info = nullptr;
    ASSERT_EQ(made->QueryInterface(IID_IErrorInfo, reinterpret_cast<void**>(&info)), S_OK);
    EXPECT_EQ(SetErrorInfo(0, info), S_OK);
    info->Release();
    made->Release();
}

/// Takes the calling thread's error object and gives its text; "none" without one.
std::wstring Take() {
    IErrorInfo* info = nullptr;
    if (GetErrorInfo(0, &info) != S_OK) {
        EXPECT_EQ(info, nullptr);
        return L"none";
    }
    BSTR text = nullptr;
    EXPECT_EQ(info->GetDescription(&text), S_OK);
    const std::wstring result = text ? text : L"";
    SysFreeString(text);
    EXPECT_EQ(info->Release(), 0u);
    return result;
}

TEST(ErrorInfo, IsTakenOnceAndReplaced) {
    EXPECT_EQ(Take(), L"none");
    Raise(L"first");
    Raise(L"second");
    EXPECT_EQ(Take(), L"second");
    EXPECT_EQ(Take(), L"none");
    Raise(L"cleared");
    EXPECT_EQ(SetErrorInfo(0, nullptr), S_OK);
    EXPECT_EQ(Take(), L"none");
}

TEST(ErrorInfo, BelongsToItsThread) {
    Raise(L"mine");
    std::thread([] {
        EXPECT_EQ(Take(), L"none");
        Raise(L"the other's");  // released with the thread
    }).join();
    EXPECT_EQ(Take(), L"mine");
}

}  // namespace
