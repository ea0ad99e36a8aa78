// Bounded reading of files and streams: one opener that never blocks and refuses what it must
// not read, and one reader that hands out characters and length-limited lines through a fixed
// buffer, so that memory stays flat whatever the size of the input.
#pragma once

#include <cstddef>
#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>

namespace synthor {

// Where bytes come from: a file, a stream or a text in memory.
class ByteSource {
  public:
    virtual ~ByteSource() = default;
    // Up to `size` bytes into `buffer`: the count read, 0 at the end, -1 on a read error.
    virtual std::ptrdiff_t read(char* buffer, std::size_t size) = 0;
};

enum class FileKind {
    Regular,  // a regular file only: FIFOs, devices, sockets and folders are refused
    Stream,   // anything readable but a folder (scripts may come from a pipe or a terminal)
};

// Opens `path` for reading. For FileKind::Regular the check is made without blocking (a FIFO
// with no writer is refused at once). On failure returns null and says why in `error`.
std::unique_ptr<ByteSource> openInput(const std::string& path, FileKind kind, std::string& error);

// A source over a stream (standard input) or over a text (which must outlive it).
std::unique_ptr<ByteSource> streamSource(std::istream& in);
std::unique_ptr<ByteSource> textSource(std::string_view text);

// Reads a source front to back through a fixed buffer.
class BoundedReader {
  public:
    explicit BoundedReader(ByteSource& source) : source_(source) {}

    // The next byte (0..255) without taking it, or -1 at the end or after a read error.
    int peek() {
        if (pos_ == end_ && !fill()) return -1;
        return static_cast<unsigned char>(buffer_[pos_]);
    }
    int get() {
        const int c = peek();
        if (c >= 0) ++pos_;
        return c;
    }
    // True once a read of the source failed (the input then ends there).
    bool failed() const { return failed_; }

    enum class Line { Read, End, TooLong, Failed };
    // The next line without its end (LF, CR LF or CR) into `line`. End: nothing was left.
    // TooLong: the line holds more than `maxLength` bytes; it is left partly read.
    Line nextLine(std::string& line, std::size_t maxLength);

    // Takes a line end (CR LF, CR or LF) if one is next.
    void skipLineEnd();

  private:
    bool fill();

    ByteSource& source_;
    char buffer_[16384];
    std::size_t pos_ = 0;
    std::size_t end_ = 0;
    bool failed_ = false;
};

}  // namespace synthor
