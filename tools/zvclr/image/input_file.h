// A file or pipe to read from.
#ifndef ZVCLR_TOOLS_INPUT_FILE_H
#define ZVCLR_TOOLS_INPUT_FILE_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zvimage {

class InputFile {
public:
    /// Opens a file; "-" is the standard input. Throws ImageError.
    explicit InputFile(const std::string& path);
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;
    ~InputFile();

    const std::string& name() const { return name_; }

    /// The next bytes, without taking them; fewer than `count` only at the end of the file.
    const std::vector<uint8_t>& peek(size_t count);

    /// Takes up to `count` bytes, fewer only at the end; -1 when the system reports an error.
    /// Throws nothing, since C libraries call it.
    int64_t read(void* data, size_t count) noexcept;
    /// Like read(), but an error is an ImageError.
    size_t readUpTo(void* data, size_t count);
    /// Like read(), but an error or the end of the file is an ImageError.
    void readAll(void* data, size_t count);
    /// One byte, or -1 at the end; errors throw.
    int get();

    /// Bytes of the whole input, known for regular files.
    std::optional<int64_t> size() const { return size_; }
    /// Copies a pipe into a temporary file, so that readAt() and size() work.
    void makeSeekable();
    int64_t readAt(void* data, size_t count, int64_t offset) noexcept;

private:
    void fill(size_t count, size_t enough);
    [[noreturn]] void fail(int error) const;

    std::string name_;
    int descriptor_ = -1;
    bool owned_ = false;
    int64_t start_ = 0;
    std::optional<int64_t> size_;
    std::vector<uint8_t> buffer_;
    size_t position_ = 0;
};

}  // namespace zvimage

#endif  // ZVCLR_TOOLS_INPUT_FILE_H
