// A file or pipe to write to. A regular file is written under a temporary name in the same folder
// and takes its name when it is complete, so that an old file stays until then.
#ifndef ZVCLR_TOOLS_OUTPUT_FILE_H
#define ZVCLR_TOOLS_OUTPUT_FILE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace zvimage {

class OutputFile {
public:
    /// Starts a file; "-" is the standard output. Throws ImageError.
    explicit OutputFile(const std::string& path);
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    ~OutputFile();

    const std::string& name() const { return name_; }
    /// Appends bytes; false when the system reports an error. Throws nothing, since C libraries call it.
    bool put(const void* data, size_t count) noexcept;
    /// Like put(), but an error is an ImageError.
    void write(const void* data, size_t count);
    [[noreturn]] void fail() const;

    /// True when the descriptor may be written at any place.
    bool seekable() const { return !temporary_.empty(); }
    int descriptor() const { return descriptor_; }
    /// Where the file is written until it takes its name, for others that write on; empty where it has none.
    const std::string& temporary() const { return temporary_; }
    /// Hands all bytes over to the system, so that others find them.
    void handOver();

    /// Flushes the bytes and gives the file its name.
    void commit();

private:
    bool flush() noexcept;
    void createTemporary();

    std::string name_;
    std::string target_;
    std::string temporary_;
    int descriptor_ = -1;
    bool owned_ = false;
    int error_ = 0;
    std::vector<uint8_t> buffer_;
    size_t used_ = 0;
};

/// Makes SIGHUP, SIGINT and SIGTERM remove an unfinished temporary file before they end the process.
void removeTemporaryOnSignals();

}  // namespace zvimage

#endif  // ZVCLR_TOOLS_OUTPUT_FILE_H
