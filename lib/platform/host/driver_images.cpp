/// The checks of a driver's image: format, processor, subsystem, signature block.
#include "platform/host/driver_images.h"

#include "platform/host/last_error.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <span>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace kr::host::detail {

namespace {

/// A little-endian number at `offset`; 0 when the image ends before, which no check accepts.
template <typename Number>
Number number_at(std::span<const u8> image, std::size_t offset) {
    Number number = 0;
    if (offset <= image.size() && sizeof number <= image.size() - offset) {
        std::memcpy(&number, image.data() + offset, sizeof number);
    }
    return number;
}

constexpr u16 DOS_MAGIC = 0x5A4D;
constexpr u32 PE_MAGIC = 0x00004550;
constexpr u16 MACHINE_AMD64 = 0x8664;
constexpr u16 PE32_PLUS = 0x020B;
constexpr u16 SUBSYSTEM_NATIVE = 1;
constexpr u16 CERTIFICATE_REVISION_2 = 0x0200;
constexpr u16 CERTIFICATE_PKCS_SIGNED_DATA = 0x0002;
constexpr u32 SECURITY_DIRECTORY = 4;

/// Offset of the optional header, or 0 when this is no driver image for this processor.
std::size_t find_optional_header(std::span<const u8> image) {
    const std::size_t pe = number_at<u32>(image, 0x3C);
    const std::size_t optional_header = pe + 24;
    const bool fits = number_at<u16>(image, 0) == DOS_MAGIC &&
                      number_at<u32>(image, pe) == PE_MAGIC &&
                      number_at<u16>(image, pe + 4) == MACHINE_AMD64 &&
                      number_at<u16>(image, optional_header) == PE32_PLUS &&
                      number_at<u16>(image, optional_header + 68) == SUBSYSTEM_NATIVE;
    return fits ? optional_header : 0;
}

/// Whether the security directory, whose address is a file offset, holds PKCS#7 signed data.
bool has_signature_block(std::span<const u8> image, std::size_t optional_header) {
    if (number_at<u32>(image, optional_header + 108) <= SECURITY_DIRECTORY) {
        return false;
    }
    const std::size_t entry = optional_header + 112 + SECURITY_DIRECTORY * 8;
    const std::size_t offset = number_at<u32>(image, entry);
    const std::size_t size = number_at<u32>(image, entry + 4);
    if (offset == 0 || size == 0 || offset > image.size() || size > image.size() - offset) {
        return false;
    }
    constexpr u32 header_bytes = 8;
    const u32 length = number_at<u32>(image, offset);
    return length > header_bytes && length <= size &&
           number_at<u16>(image, offset + 4) == CERTIFICATE_REVISION_2 &&
           number_at<u16>(image, offset + 6) == CERTIFICATE_PKCS_SIGNED_DATA;
}

} // namespace

DWORD check_driver_image(const std::string& path) {
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) {
        return error_from_errno(errno, path);
    }
    struct stat status {};
    std::vector<u8> bytes;
    bool whole = fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
    if (whole) {
        bytes.resize(static_cast<std::size_t>(status.st_size));
        whole = pread(descriptor, bytes.data(), bytes.size(), 0) == status.st_size;
    }
    close(descriptor);
    const std::size_t optional_header = whole ? find_optional_header(bytes) : 0;
    if (optional_header == 0) {
        return ERROR_BAD_EXE_FORMAT;
    }
    return has_signature_block(bytes, optional_header) ? NO_ERROR : ERROR_INVALID_IMAGE_HASH;
}

} // namespace kr::host::detail
