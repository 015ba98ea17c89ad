#pragma once

#include "support/resource_limit.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>

/// Files for tests that read or write some, and a way to make writing fail.
namespace TempFiles {

/// A folder of its own for each test, gone with everything in it when the test ends.
class Folder {
  public:
    Folder() {
        std::string path = (std::filesystem::temp_directory_path() / "morvane-XXXXXX").string();
        if (!mkdtemp(path.data()))
            throw std::runtime_error("no temporary folder");
        path_ = path;
    }
    ~Folder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    const std::string& path() const { return path_; }

    std::string pathOf(const std::string& name) const { return path_ + '/' + name; }

    /// Writes a file and returns its path.
    std::string write(const std::string& name, std::string_view content) const {
        std::ofstream file(pathOf(name), std::ios::binary);
        file << content;
        if (!file.flush())
            throw std::runtime_error("cannot write " + name);
        return pathOf(name);
    }

  private:
    std::string path_;
};

/// The whole content of a file; one that cannot be read throws.
inline std::string read(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw std::runtime_error("cannot read " + path);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// Lets no file grow beyond a number of bytes: writing stops short as on a full disk. The signal
/// that goes with it ends the process, unless whoever writes sees to it.
class SizeLimit {
  public:
    explicit SizeLimit(std::size_t bytes)
        : handler_(std::signal(SIGXFSZ, SIG_DFL)), limit_(RLIMIT_FSIZE, bytes) {}
    ~SizeLimit() { std::signal(SIGXFSZ, handler_); }
    SizeLimit(const SizeLimit&) = delete;
    SizeLimit& operator=(const SizeLimit&) = delete;

  private:
    void (*handler_)(int);
    ResourceLimit limit_;
};

} // namespace TempFiles
