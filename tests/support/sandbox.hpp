// A temporary folder for one test: named after the test and the object, so parallel runs of the
// same suite do not meet, and removed with everything in it when the sandbox goes.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

namespace synthor::testing {

class Sandbox {
  public:
    Sandbox() {
        const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
        dir_ = std::filesystem::temp_directory_path() /
               ("synthor-" + std::string(test ? test->name() : "test") + "-" +
                std::to_string(reinterpret_cast<std::uintptr_t>(this)));
        std::filesystem::remove_all(dir_);
        std::filesystem::create_directories(dir_);
    }
    ~Sandbox() {
        std::error_code ignored;
        std::filesystem::remove_all(dir_, ignored);
    }
    Sandbox(const Sandbox&) = delete;
    Sandbox& operator=(const Sandbox&) = delete;

    std::filesystem::path path(const std::string& name) const { return dir_ / name; }
    // Writes `content` to `name` in the folder and returns the file's path.
    std::string file(const std::string& name, const std::string& content) const {
        const auto at = path(name).string();
        std::ofstream(at, std::ios::binary) << content;
        return at;
    }
    const std::filesystem::path& dir() const { return dir_; }

  private:
    std::filesystem::path dir_;
};

}  // namespace synthor::testing
