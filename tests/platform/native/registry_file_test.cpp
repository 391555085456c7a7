// The registry's file: made with its folders, shared by processes, refused when it is something else.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <fstream>

#include "support/environment.h"

#include <bvschema/platform.h>

namespace bv::test {
namespace {

/// What the shell command gives, with `client` naming the client program.
int Shell(const std::string& command) {
    const int status =
        std::system(("client='" + (BinFolder() / "registry_client").string() + "'; " + command).c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string File(const char* name) { return "BV_REGISTRY='" + (TempFolder() / name).string() + "' "; }

TEST(RegistryFile, IsMadeWithItsFolders) {
    EXPECT_EQ(Shell(File("new/folder/r.db") + "$client a 1"), 0);
    EXPECT_TRUE(std::filesystem::exists(TempFolder() / "new/folder/r.db"));
    const std::string data = "unset BV_REGISTRY; XDG_DATA_HOME='" + (TempFolder() / "data").string() + "' ";
    EXPECT_EQ(Shell(data + "$client a 1"), 0);
    EXPECT_TRUE(std::filesystem::exists(TempFolder() / "data/bvschema/registry.db"));
}

TEST(RegistryFile, ServesProcessesAtOnce) {
    EXPECT_EQ(Shell("export " + File("shared.db") +
                    "; $client a 50 & p=$!; $client b 50 & q=$!; $client a 50 && wait $p && wait $q"),
              0);
    EXPECT_EQ(Shell(File("shared.db") + "$client b 50"), 0);
}

TEST(RegistryFile, WhatIsNoRegistryIsRefusedAndLeftAlone) {
    const std::string text(5000, 'x');
    std::ofstream(TempFolder() / "text.db") << text;
    EXPECT_EQ(Shell(File("text.db") + "$client a 1"), 255) << "ERROR_REGISTRY_CORRUPT";
    EXPECT_EQ(std::filesystem::file_size(TempFolder() / "text.db"), text.size());
    std::filesystem::create_directory(TempFolder() / "folder.db");
    EXPECT_EQ(Shell(File("folder.db") + "$client a 1"), ERROR_ACCESS_DENIED);
    EXPECT_EQ(Shell("BV_REGISTRY=/proc/none/r.db $client a 1"), ERROR_ACCESS_DENIED);

    // A registry with its middle overwritten: any status, but no end by a signal.
    ASSERT_EQ(Shell(File("torn.db") + "$client a 200"), 0);
    std::fstream file(TempFolder() / "torn.db", std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(3000);
    for (int i = 0; i < 20000; ++i) file.put(char(i * 37));
    file.close();
    for (const char* name : {"a", "b"}) {
        const int status = Shell(File("torn.db") + "$client " + name + " 200");
        EXPECT_TRUE(status < 128 || status == 255) << status;  // a shell adds 128 to a signal
    }
}

}  // namespace
}  // namespace bv::test
