/// \file
/// A stream in memory of a fixed size, which costs no more than copying.
#pragma once

#include <cstddef>
#include <istream>
#include <ostream>
#include <streambuf>
#include <vector>

namespace bench {

class MemoryStream {
public:
    explicit MemoryStream(std::size_t capacity) : buffer_(capacity), writer_(&buffer_), reader_(&buffer_) {}

    /// From the start, over what is there.
    std::ostream& forWriting() {
        buffer_.rewind();
        writer_.clear();
        return writer_;
    }
    /// From the start; what was written last.
    std::istream& forReading() {
        buffer_.rewind();
        reader_.clear();
        return reader_;
    }

private:
    class Buffer : public std::streambuf {
    public:
        explicit Buffer(std::size_t capacity) : bytes_(capacity) {}
        void rewind() {
            char* const first = bytes_.data();
            char* const last = first + bytes_.size();
            setp(first, last);
            setg(first, first, last);
        }

    private:
        std::vector<char> bytes_;
    };

    Buffer buffer_;
    std::ostream writer_;
    std::istream reader_;
};

} // namespace bench
