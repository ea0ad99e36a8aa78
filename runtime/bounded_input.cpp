#include "runtime/bounded_input.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <istream>

#ifdef _WIN32
#include <io.h>
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#else
#include <unistd.h>
#endif

namespace synthor {
namespace {

#ifdef _WIN32
using ReadCount = int;
int closeFd(int fd) {
    return _close(fd);
}
ReadCount readFd(int fd, char* buffer, std::size_t size) {
    return _read(fd, buffer, static_cast<unsigned>(std::min<std::size_t>(size, 1U << 30)));
}
#else
using ReadCount = ssize_t;
int closeFd(int fd) {
    return ::close(fd);
}
ReadCount readFd(int fd, char* buffer, std::size_t size) {
    ReadCount n = 0;
    do {
        n = ::read(fd, buffer, size);
    } while (n < 0 && errno == EINTR);
    return n;
}
#endif

class FileSource final : public ByteSource {
  public:
    explicit FileSource(int fd) : fd_(fd) {}
    ~FileSource() override { closeFd(fd_); }
    FileSource(const FileSource&) = delete;
    FileSource& operator=(const FileSource&) = delete;

    std::ptrdiff_t read(char* buffer, std::size_t size) override {
        const ReadCount n = readFd(fd_, buffer, size);
        return n < 0 ? -1 : static_cast<std::ptrdiff_t>(n);
    }

  private:
    int fd_;
};

class StreamSource final : public ByteSource {
  public:
    explicit StreamSource(std::istream& in) : in_(in) {}
    // Takes what the stream has at hand (at least one byte, waiting for it if need be), never
    // waiting for a whole buffer: a script fed line by line through a pipe runs line by line.
    std::ptrdiff_t read(char* buffer, std::size_t size) override {
        std::streambuf* in = in_.rdbuf();
        if (in == nullptr) return -1;
        if (in->sgetc() == std::char_traits<char>::eof()) return 0;
        const std::streamsize ready = std::max<std::streamsize>(in->in_avail(), 1);
        return static_cast<std::ptrdiff_t>(
            in->sgetn(buffer, std::min(ready, static_cast<std::streamsize>(size))));
    }

  private:
    std::istream& in_;
};

class TextSource final : public ByteSource {
  public:
    explicit TextSource(std::string_view text) : text_(text) {}
    std::ptrdiff_t read(char* buffer, std::size_t size) override {
        const std::size_t n = std::min(size, text_.size());
        std::memcpy(buffer, text_.data(), n);
        text_.remove_prefix(n);
        return static_cast<std::ptrdiff_t>(n);
    }

  private:
    std::string_view text_;
};

// Why a file of this type is refused, or nothing when it may be read.
const char* refusal(bool directory, bool regular, FileKind kind) {
    if (directory) return "a folder";
    if (kind == FileKind::Regular && !regular)
        return "not a regular file (a FIFO, device or socket)";
    return nullptr;
}

}  // namespace

std::unique_ptr<ByteSource> openInput(const std::string& path, FileKind kind, std::string& error) {
#ifdef _WIN32
    // Opening a folder fails on Windows with a bare "Permission denied"; say what it is instead.
    const DWORD attributes = GetFileAttributesA(path.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
        error = path + ": " + refusal(true, false, kind);
        return nullptr;
    }
    const int fd = _open(path.c_str(), _O_RDONLY | _O_BINARY);
    if (fd < 0) {
        error = path + ": " + std::strerror(errno);
        return nullptr;
    }
    // Devices (CON, NUL, COM1) and pipes are not disk files; opening them does not wait.
    struct _stat64 st {};
    const bool disk = GetFileType(reinterpret_cast<HANDLE>(_get_osfhandle(fd))) == FILE_TYPE_DISK;
    const bool statted = _fstat64(fd, &st) == 0;
    const bool directory = statted && (st.st_mode & _S_IFDIR) != 0;
    const bool regular = disk && statted && (st.st_mode & _S_IFREG) != 0;
#else
    // O_NONBLOCK so that opening a FIFO with no writer returns at once (it is then refused);
    // reads of a regular file never wait, whatever the flag.
    const int flags = O_RDONLY | O_CLOEXEC | (kind == FileKind::Regular ? O_NONBLOCK : 0);
    int fd = -1;
    do {
        fd = ::open(path.c_str(), flags);
    } while (fd < 0 && errno == EINTR);
    if (fd < 0) {
        error = path + ": " + std::strerror(errno);
        return nullptr;
    }
    struct stat st {};
    const bool statted = ::fstat(fd, &st) == 0;
    const bool directory = statted && S_ISDIR(st.st_mode);
    const bool regular = statted && S_ISREG(st.st_mode);
#endif
    if (!statted) {
        error = path + ": " + std::strerror(errno);
        closeFd(fd);
        return nullptr;
    }
    if (const char* why = refusal(directory, regular, kind)) {
        error = path + ": " + why;
        closeFd(fd);
        return nullptr;
    }
    return std::make_unique<FileSource>(fd);
}

std::unique_ptr<ByteSource> streamSource(std::istream& in) {
    return std::make_unique<StreamSource>(in);
}

std::unique_ptr<ByteSource> textSource(std::string_view text) {
    return std::make_unique<TextSource>(text);
}

bool BoundedReader::fill() {
    if (failed_) return false;
    pos_ = end_ = 0;
    const std::ptrdiff_t n = source_.read(buffer_, sizeof buffer_);
    if (n < 0) failed_ = true;
    if (n <= 0) return false;
    end_ = static_cast<std::size_t>(n);
    return true;
}

void BoundedReader::skipLineEnd() {
    if (peek() == '\r') get();
    if (peek() == '\n') get();
}

BoundedReader::Line BoundedReader::nextLine(std::string& line, std::size_t maxLength) {
    line.clear();
    if (peek() < 0) return failed_ ? Line::Failed : Line::End;
    for (int c = peek(); c >= 0 && c != '\r' && c != '\n'; c = peek()) {
        if (line.size() == maxLength) return Line::TooLong;
        line.push_back(static_cast<char>(get()));
    }
    if (failed_) return Line::Failed;
    skipLineEnd();
    return Line::Read;
}

}  // namespace synthor
