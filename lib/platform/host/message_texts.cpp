/// The English texts of the system's error numbers, as Windows words them.
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
    {1, u"Incorrect function."},
    {2, u"The system cannot find the file specified."},
    {3, u"The system cannot find the path specified."},
    {4, u"The system cannot open the file."},
    {5, u"Access is denied."},
    {6, u"The handle is invalid."},
    {7, u"The storage control blocks were destroyed."},
    {8, u"Not enough memory resources are available to process this command."},
    {9, u"The storage control block address is invalid."},
    {10, u"The environment is incorrect."},
    {11, u"An attempt was made to load a program with an incorrect format."},
    {12, u"The access code is invalid."},
    {13, u"The data is invalid."},
    {14, u"Not enough memory resources are available to complete this operation."},
    {15, u"The system cannot find the drive specified."},
    {16, u"The directory cannot be removed."},
    {17, u"The system cannot move the file to a different disk drive."},
    {18, u"There are no more files."},
    {19, u"The media is write protected."},
    {20, u"The system cannot find the device specified."},
    {21, u"The device is not ready."},
    {22, u"The device does not recognize the command."},
    {23, u"Data error (cyclic redundancy check)."},
    {24, u"The program issued a command but the command length is incorrect."},
    {25, u"The drive cannot locate a specific area or track on the disk."},
    {26, u"The specified disk or diskette cannot be accessed."},
    {27, u"The drive cannot find the sector requested."},
    {28, u"The printer is out of paper."},
    {29, u"The system cannot write to the specified device."},
    {30, u"The system cannot read from the specified device."},
    {31, u"A device attached to the system is not functioning."},
    {32, u"The process cannot access the file because it is being used by another process."},
    {33, u"The process cannot access the file because another process has locked a portion of the "
         u"file."},
    {34,
     u"The wrong diskette is in the drive.\r\nInsert %2 (Volume Serial Number: %3) into drive %1."},
    {36, u"Too many files opened for sharing."},
    {38, u"Reached the end of the file."},
    {39, u"The disk is full."},
    {50, u"The request is not supported."},
    {51, u"Windows cannot find the network path. Verify that the network path is correct and the "
         u"destination computer is not busy or turned off. If Windows still cannot find the "
         u"network path, contact your network administrator."},
    {52, u"You were not connected because a duplicate name exists on the network. If joining a "
         u"domain, go to System in Control Panel to change the computer name and try again. If "
         u"joining a workgroup, choose another workgroup name."},
    {53, u"The network path was not found."},
    {54, u"The network is busy."},
    {55, u"The specified network resource or device is no longer available."},
    {57, u"A network adapter hardware error occurred."},
    {58, u"The specified server cannot perform the requested operation."},
    {59, u"An unexpected network error occurred."},
    {64, u"The specified network name is no longer available."},
    {65, u"Network access is denied."},
    {67, u"The network name cannot be found."},
    {80, u"The file exists."},
    {82, u"The directory or file cannot be created."},
    {85, u"The local device name is already in use."},
    {86, u"The specified network password is not correct."},
    {87, u"The parameter is incorrect."},
    {88, u"A write fault occurred on the network."},
    {89, u"The system cannot start another process at this time."},
    {107, u"The program stopped because an alternate diskette was not inserted."},
    {108, u"The disk is in use or locked by another process."},
    {109, u"The pipe has been ended."},
    {110, u"The system cannot open the device or file specified."},
    {111, u"The file name is too long."},
    {112, u"There is not enough space on the disk."},
    {120, u"This function is not supported on this system."},
    {121, u"The semaphore timeout period has expired."},
    {122, u"The data area passed to a system call is too small."},
    {123, u"The filename, directory name, or volume label syntax is incorrect."},
    {124, u"The system call level is not correct."},
    {126, u"The specified module could not be found."},
    {127, u"The specified procedure could not be found."},
    {129, u"The %1 application cannot be run in Win32 mode."},
    {131, u"An attempt was made to move the file pointer before the beginning of the file."},
    {145, u"The directory is not empty."},
    {160, u"One or more arguments are not correct."},
    {161, u"The specified path is invalid."},
    {170, u"The requested resource is in use."},
    {183, u"Cannot create a file when that file already exists."},
    {193, u"%1 is not a valid Win32 application."},
    {203, u"The system could not find the environment option that was entered."},
    {206, u"The filename or extension is too long."},
    {216, u"This version of %1 is not compatible with the version of Windows you're running. Check "
          u"your computer's system information and then contact the software publisher."},
    {231, u"All pipe instances are busy."},
    {232, u"The pipe is being closed."},
    {233, u"No process is on the other end of the pipe."},
    {234, u"More data is available."},
    {258, u"The wait operation timed out."},
    {259, u"No more data is available."},
    {267, u"The directory name is invalid."},
    {288, u"Attempt to release mutex not owned by caller."},
    {298, u"Too many posts were made to a semaphore."},
    {299, u"Only part of a ReadProcessMemory or WriteProcessMemory request was completed."},
    {317,
     u"The system cannot find message text for message number 0x%1 in the message file for %2."},
    {487, u"Attempt to access invalid address."},
    {534, u"Arithmetic result exceeded 32 bits."},
    {535, u"There is a process on other end of the pipe."},
    {577, u"Windows cannot verify the digital signature for this file. A recent hardware or "
          u"software change might have installed a file that is signed incorrectly or damaged, or "
          u"that might be malicious software from an unknown source."},
    {995, u"The I/O operation has been aborted because of either a thread exit or an application "
          u"request."},
    {996, u"Overlapped I/O event is not in a signaled state."},
    {997, u"Overlapped I/O operation is in progress."},
    {998, u"Invalid access to memory location."},
    {1004, u"Invalid flags."},
    {1005, u"The volume does not contain a recognized file system.\r\nPlease make sure that all "
           u"required file system drivers are loaded and that the volume is not corrupted."},
    {1006, u"The volume for a file has been externally altered so that the opened file is no "
           u"longer valid."},
    {1009, u"The configuration registry database is corrupt."},
    {1010, u"The configuration registry key is invalid."},
    {1011, u"The configuration registry key could not be opened."},
    {1012, u"The configuration registry key could not be read."},
    {1013, u"The configuration registry key could not be written."},
    {1018, u"Illegal operation attempted on a registry key that has been marked for deletion."},
    {1020, u"Cannot create a symbolic link in a registry key that already has subkeys or values."},
    {1021, u"Cannot create a stable subkey under a volatile parent key."},
    {1051,
     u"A stop control has been sent to a service that other running services are dependent on."},
    {1052, u"The requested control is not valid for this service."},
    {1053, u"The service did not respond to the start or control request in a timely fashion."},
    {1054, u"A thread could not be created for the service."},
    {1055, u"The service database is locked."},
    {1056, u"An instance of the service is already running."},
    {1057, u"The account name is invalid or does not exist, or the password is invalid for the "
           u"account name specified."},
    {1058, u"The service cannot be started, either because it is disabled or because it has no "
           u"enabled devices associated with it."},
    {1060, u"The specified service does not exist as an installed service."},
    {1061, u"The service cannot accept control messages at this time."},
    {1062, u"The service has not been started."},
    {1063, u"The service process could not connect to the service controller."},
    {1064, u"An exception occurred in the service when handling the control request."},
    {1065, u"The database specified does not exist."},
    {1066, u"The service has returned a service-specific error code."},
    {1067, u"The process terminated unexpectedly."},
    {1068, u"The dependency service or group failed to start."},
    {1069, u"The service did not start due to a logon failure."},
    {1070, u"After starting, the service hung in a start-pending state."},
    {1072, u"The specified service has been marked for deletion."},
    {1073, u"The specified service already exists."},
    {1075, u"The dependency service does not exist or has been marked for deletion."},
    {1077, u"No attempts to start the service have been made since the last boot."},
    {1078, u"The name is already in use as either a service name or a service display name."},
    {1084, u"This service cannot be started in Safe Mode"},
    {1113, u"No mapping for the Unicode character exists in the target multi-byte code page."},
    {1114, u"A dynamic link library (DLL) initialization routine failed."},
    {1117, u"The request could not be performed because of an I/O device error."},
    {1130, u"Not enough server memory resources are available to process this command."},
    {1168, u"Element not found."},
    {1223, u"The operation was canceled by the user."},
    {1225, u"The remote computer refused the network connection."},
    {1227, u"The network transport endpoint already has an address associated with it."},
    {1231, u"The network location cannot be reached. For information about network "
           u"troubleshooting, see Windows Help."},
    {1235, u"The request was aborted."},
    {1275, u"This driver has been blocked from loading"},
    {1314, u"A required privilege is not held by the client."},
    {1326, u"The user name or password is incorrect."},
    {1332, u"No mapping between account names and security IDs was done."},
    {1359, u"An internal error occurred."},
    {1392, u"The file or directory is corrupted and unreadable."},
    {1450, u"Insufficient system resources exist to complete the requested service."},
    {1453, u"Insufficient quota to complete the requested service."},
    {1455, u"The paging file is too small for this operation to complete."},
    {1460, u"This operation returned because the timeout period expired."},
    {1500, u"The event log file is corrupted."},
    {1502, u"The event log file is full."},
    {1722, u"The RPC server is unavailable."},
    {1812, u"The specified image file did not contain a resource section."},
    {1813, u"The specified resource type cannot be found in the image file."},
    {1814, u"The specified resource name cannot be found in the image file."},
    {1815, u"The specified resource language ID cannot be found in the image file."},
    {10014, u"The system detected an invalid pointer address in attempting to use a pointer "
            u"argument in a call."},
    {10047, u"An address incompatible with the requested protocol was used."},
    {10060, u"A connection attempt failed because the connected party did not properly respond "
            u"after a period of time, or established connection failed because connected host has "
            u"failed to respond."},
    {10061, u"No connection could be made because the target machine actively refused it."},
    {10093, u"Either the application has not called WSAStartup, or WSAStartup failed."},
    {11001, u"No such host is known."},
    {11002, u"This is usually a temporary error during hostname resolution and means that the "
            u"local server did not receive a response from an authoritative server."},
    {11003, u"A non-recoverable error occurred during a database lookup."},
    {11004, u"The requested name is valid, but no data of the requested type was found."},
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
