// Files of a test: made in the folder for temporary files, gone at the end of the scope.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace test {

class TempFile {
  public:
    explicit TempFile(const std::string& text) : TempFile() { std::ofstream(path_) << text; }
    ~TempFile() {
        if (writer_ >= 0) ::close(writer_);
        ::unlink(path_.c_str());
    }
    TempFile(const TempFile&) = delete;
    TempFile& operator=(const TempFile&) = delete;

    // A pipe with a name, held open so that opening it does not wait.
    static TempFile fifo() { return TempFile(Fifo{}); }

    const char* path() const { return path_.c_str(); }
    void resize(std::int64_t size) const { EXPECT_EQ(0, ::truncate(path(), size)); }
    void remove() const { ::unlink(path()); }

    std::string text() const {
        std::ostringstream content;
        content << std::ifstream(path_).rdbuf();
        return content.str();
    }

  private:
    struct Fifo {};

    TempFile() : path_(testing::TempDir() + "talvern_XXXXXX") {
        const int descriptor = ::mkstemp(path_.data());
        EXPECT_GE(descriptor, 0);
        ::close(descriptor);
    }
    explicit TempFile(Fifo) : TempFile() {
        remove();
        EXPECT_EQ(0, ::mkfifo(path(), 0600));
        writer_ = ::open(path(), O_RDWR);
    }

    std::string path_;
    int writer_ = -1;
};

} // namespace test
