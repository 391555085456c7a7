// Whole files, byte for byte.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace bv::test {

inline std::string ReadAll(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}
inline void WriteAll(const std::filesystem::path& file, const std::string& bytes) {
    std::ofstream(file, std::ios::binary) << bytes;
}

}  // namespace bv::test
