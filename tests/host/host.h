// A job of the layer's, with sources that a test describes.
#pragma once

#include <bvschema/host.h>
#include <gmock/gmock.h>

#include <fstream>

#include "support/environment.h"

namespace bv::test {

/// 10 s at 25 pictures a second, with sound.
inline Result<MediaInfo> DescribedSource(const std::filesystem::path&) {
    return MediaInfo{100'000'000, 400'000, true, true, false};
}

class HostTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        ASSERT_EQ(::bv::test::CallModule(kSamplesFile, "DllRegisterServer"), S_OK);
    }
    static void TearDownTestSuite() {
        EXPECT_EQ(::bv::test::CallModule(kSamplesFile, "DllUnregisterServer"), S_OK);
    }

    static JobOptions Options() {
        JobOptions options;
        options.source = DescribedSource;
        return options;
    }
    static std::filesystem::path Clip(const char* utf8_name) {
        const std::filesystem::path file = TempFolder() / ToPath(std::string_view(utf8_name));
        std::ofstream(file) << "x";
        return file;
    }
    Job job = Job::Create(Options());
};

}  // namespace bv::test
