/// The English texts of the error numbers that the stand-in or a test of it raises, as Windows
/// words them.
#include "platform/host/message_texts.h"

#include <algorithm>
#include <functional>

namespace kr::host::detail {

namespace {

struct message_row {
    DWORD error;
    const WCHAR* text;
};

// One row a line, however long.
// clang-format off
constexpr message_row rows[] = {
    {0, u"The operation completed successfully."},
    {2, u"The system cannot find the file specified."},
    {3, u"The system cannot find the path specified."},
    {4, u"The system cannot open the file."},
    {5, u"Access is denied."},
    {6, u"The handle is invalid."},
    {8, u"Not enough memory resources are available to process this command."},
    {19, u"The media is write protected."},
    {31, u"A device attached to the system is not functioning."},
    {32, u"The process cannot access the file because it is being used by another process."},
    {39, u"The disk is full."},
    {50, u"The request is not supported."},
    {80, u"The file exists."},
    {87, u"The parameter is incorrect."},
    {112, u"There is not enough space on the disk."},
    {122, u"The data area passed to a system call is too small."},
    {123, u"The filename, directory name, or volume label syntax is incorrect."},
    {161, u"The specified path is invalid."},
    {183, u"Cannot create a file when that file already exists."},
    {193, u"%1 is not a valid Win32 application."},
    {206, u"The filename or extension is too long."},
    {232, u"The pipe is being closed."},
    {234, u"More data is available."},
    {259, u"No more data is available."},
    {317, u"The system cannot find message text for message number 0x%1 in the message file for %2."},
    {487, u"Attempt to access invalid address."},
    {577, u"Windows cannot verify the digital signature for this file. A recent hardware or software change might have installed a file that is signed incorrectly or damaged, or that might be malicious software from an unknown source."},
    {1009, u"The configuration registry database is corrupt."},
    {1018, u"Illegal operation attempted on a registry key that has been marked for deletion."},
    {1056, u"An instance of the service is already running."},
    {1058, u"The service cannot be started, either because it is disabled or because it has no enabled devices associated with it."},
    {1061, u"The service cannot accept control messages at this time."},
    {1062, u"The service has not been started."},
    {1072, u"The specified service has been marked for deletion."},
    {1073, u"The specified service already exists."},
    {1078, u"The name is already in use as either a service name or a service display name."},
    {1117, u"The request could not be performed because of an I/O device error."},
    {1275, u"This driver has been blocked from loading"},
    {1450, u"Insufficient system resources exist to complete the requested service."},
    {1455, u"The paging file is too small for this operation to complete."},
    {1502, u"The event log file is full."},
    {1813, u"The specified resource type cannot be found in the image file."},
    {1814, u"The specified resource name cannot be found in the image file."},
    {10014, u"The system detected an invalid pointer address in attempting to use a pointer argument in a call."},
    {10047, u"An address incompatible with the requested protocol was used."},
    {10093, u"Either the application has not called WSAStartup, or WSAStartup failed."},
    {11001, u"No such host is known."},
};
// clang-format on
static_assert(std::ranges::adjacent_find(rows, std::ranges::greater_equal{}, &message_row::error) ==
                  std::end(rows),
              "strictly ascending: look-up is a binary search");

} // namespace

const WCHAR* message_text(DWORD error) {
    const auto* const row = std::ranges::lower_bound(rows, error, {}, &message_row::error);
    return row != std::end(rows) && row->error == error ? row->text : nullptr;
}

} // namespace kr::host::detail
