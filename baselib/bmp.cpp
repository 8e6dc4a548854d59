#include "baselib/bmp.h"

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr int extentMax = 16384;
constexpr std::uint32_t fileHeaderSize = 14;
constexpr std::uint32_t headerSize = fileHeaderSize + 40;
constexpr mode_t fileMode = 0644;

using Bytes = std::vector<unsigned char>;

// Low byte first; count: 1..4.
void put(Bytes& bytes, std::uint32_t value, int count) {
    for (int i = 0; i < count; ++i)
        bytes.push_back(static_cast<unsigned char>(value >> (8 * i)));
}

void putHeader(Bytes& bytes, std::uint32_t width, std::uint32_t height, std::uint32_t dataSize) {
    bytes.push_back('B');
    bytes.push_back('M');
    put(bytes, headerSize + dataSize, 4);
    put(bytes, 0, 4);          // reserved
    put(bytes, headerSize, 4); // offset of the pixels
    put(bytes, headerSize - fileHeaderSize, 4);
    put(bytes, width, 4);
    put(bytes, height, 4);
    put(bytes, 1, 2);  // planes
    put(bytes, 24, 2); // bits a pixel
    put(bytes, 0, 4);  // no compression
    put(bytes, dataSize, 4);
    bytes.insert(bytes.end(), 16, 0); // resolution and palette: none given
}

// Rows go from the bottom up, each filled up to a multiple of four bytes.
Bytes fileOf(std::uint32_t width, std::uint32_t height, const unsigned int* pixels) {
    const std::uint32_t rowSize = (width * 3 + 3) & ~3U;
    Bytes bytes;
    bytes.reserve(headerSize + rowSize * height);
    putHeader(bytes, width, height, rowSize * height);
    for (std::uint32_t y = height; y-- > 0;) {
        for (std::uint32_t x = 0; x < width; ++x)
            put(bytes, pixels[y * width + x], 3);
        bytes.insert(bytes.end(), rowSize - width * 3, 0);
    }
    return bytes;
}

bool writeAll(int file, const Bytes& bytes) {
    for (std::size_t done = 0; done < bytes.size();) {
        const ssize_t written = write(file, bytes.data() + done, bytes.size() - done);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        done += static_cast<std::size_t>(written);
    }
    return true;
}

// A file under a name of its own beside the final one, gone again unless it is kept.
class PendingFile {
public:
    explicit PendingFile(const char* finalPath)
        : path(finalPath), name(path + ".XXXXXX"), file(mkstemp(name.data())) {}
    PendingFile(const PendingFile&) = delete;
    PendingFile& operator=(const PendingFile&) = delete;
    ~PendingFile() {
        const int cause = errno;
        if (isOpen()) close(file);
        if (isCreated) unlink(name.c_str());
        errno = cause;
    }

    // Writes the contents and gives the file its final name.
    bool keep(const Bytes& bytes) {
        if (!isOpen() || !writeAll(file, bytes) || fchmod(file, fileMode) != 0 || !closed())
            return false;
        isCreated = rename(name.c_str(), path.c_str()) != 0;
        return !isCreated;
    }

private:
    bool isOpen() const { return file >= 0; }

    // A failing close may be the first report of a failed write. The descriptor is gone
    // either way.
    bool closed() {
        const int result = close(file);
        file = -1;
        return result == 0;
    }

    std::string path;
    std::string name;
    int file;
    bool isCreated = file >= 0;
};

} // namespace

int KLFwriteBmp(const char* path, int width, int height, const unsigned int* pixels) {
    if (width < 1 || height < 1 || width > extentMax || height > extentMax) return KLFbmpErrorSize;
    const Bytes bytes =
        fileOf(static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height), pixels);
    return PendingFile(path).keep(bytes) ? 0 : KLFbmpErrorFile;
}
