/// The checks of a driver's image: format, processor, subsystem, signature block.
#include "platform/host/driver_images.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <span>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "platform/host/last_error.h"

namespace kr::host::detail {

namespace {

/// A little-endian number at `offset`; 0 when the image ends before, which no check accepts.
template <typename Number>
Number number_at(std::span<const u8> image, size_t offset) {
    Number number = 0;
    if (offset <= image.size() && sizeof number <= image.size() - offset) {
        std::memcpy(&number, image.data() + offset, sizeof number);
    }
    return number;
}

constexpr u16 dos_magic = 0x5A4D;
constexpr u32 pe_magic = 0x00004550;
constexpr u16 machine_amd64 = 0x8664;
constexpr u16 pe32_plus = 0x020B;
constexpr u16 subsystem_native = 1;
constexpr u16 certificate_revision_2 = 0x0200;
constexpr u16 certificate_pkcs_signed_data = 0x0002;
constexpr u32 security_directory = 4;

/// Offset of the optional header, or 0 when this is no driver image for this processor.
size_t find_optional_header(std::span<const u8> image) {
    const size_t pe = number_at<u32>(image, 0x3C);
    const size_t optional_header = pe + 24;
    const bool fits = number_at<u16>(image, 0) == dos_magic &&
                      number_at<u32>(image, pe) == pe_magic &&
                      number_at<u16>(image, pe + 4) == machine_amd64 &&
                      number_at<u16>(image, optional_header) == pe32_plus &&
                      number_at<u16>(image, optional_header + 68) == subsystem_native;
    return fits ? optional_header : 0;
}

/// Whether the security directory, whose address is a file offset, holds PKCS#7 signed data.
bool has_signature_block(std::span<const u8> image, size_t optional_header) {
    if (number_at<u32>(image, optional_header + 108) <= security_directory) {
        return false;
    }
    const size_t entry = optional_header + 112 + security_directory * 8;
    const size_t offset = number_at<u32>(image, entry);
    const size_t size = number_at<u32>(image, entry + 4);
    if (offset == 0 || size == 0 || offset > image.size() || size > image.size() - offset) {
        return false;
    }
    constexpr u32 header_bytes = 8;
    const u32 length = number_at<u32>(image, offset);
    return length > header_bytes && length <= size &&
           number_at<u16>(image, offset + 4) == certificate_revision_2 &&
           number_at<u16>(image, offset + 6) == certificate_pkcs_signed_data;
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
        bytes.resize(static_cast<size_t>(status.st_size));
        whole = pread(descriptor, bytes.data(), bytes.size(), 0) == status.st_size;
    }
    close(descriptor);
    const size_t optional_header = whole ? find_optional_header(bytes) : 0;
    if (optional_header == 0) {
        return ERROR_BAD_EXE_FORMAT;
    }
    return has_signature_block(bytes, optional_header) ? NO_ERROR : ERROR_INVALID_IMAGE_HASH;
}

} // namespace kr::host::detail
