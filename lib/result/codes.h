/// The library's own result codes: one row per code, the only list of them. KR_INTERNAL_CODES(row)
/// calls row(name, code, text) for each in ascending order; KR_INTERNAL_CODES_UNTEXTED(row) calls
/// row(name, code) for the codes that have no text. Public; constants only.
#pragma once

// clang-format off
#define KR_INTERNAL_CODES(row) \
    row(KR_GENERIC, 0x0000, "Generic") \
    row(KR_END_OF_FILE, 0x0001, "End of file") \
    row(KR_OUT_OF_MEMORY, 0x0002, "Out of memory") \
    row(KR_UNEXPECTED_BEHAVIOUR, 0x0003, "Unexpected behaviour") \
    row(KR_OPEN_CONFIGURATION_FILE, 0x0004, "Open configuration file") \
    row(KR_CONFIGURATION_FILE_SYNTAX, 0x0005, "Configuration file syntax") \
    row(KR_RPC_COMMUNICATION, 0x0006, "RPC communication") \
    row(KR_BOOT_BLOCKS_BOOTABLE, 0x0007, "Boot blocks bootable") \
    row(KR_BOOT_BLOCKS_ZERO, 0x0008, "Boot blocks zero") \
    row(KR_BOOT_BLOCKS_SAN_TABLE, 0x0009, "Boot blocks SAN Table") \
    row(KR_BOOT_BLOCKS_OTHER, 0x000A, "Boot blocks other") \
    row(KR_VOLUME_NOT_FOUND, 0x000B, "Volume not found") \
    row(KR_INVALID_ARGUMENT_TO_FUNCTION, 0x000C, "Invalid argument to function") \
    row(KR_CANNOT_READ_SAN_TABLE, 0x000D, "Cannot read SAN table") \
    row(KR_MASTER_FOUND, 0x000E, "Master found") \
    row(KR_MASTER_NOT_FOUND, 0x000F, "Master not found") \
    row(KR_SAN_TABLE_NOT_FOUND, 0x0010, "SAN table not found") \
    row(KR_CANNOT_READ_SAN_TABLE_2, 0x0011, "Cannot read SAN Table") \
    row(KR_INVALID_MASTER_ADDRESS, 0x0012, "Invalid master address") \
    row(KR_NOT_USABLE_IPS_FOUND, 0x0013, "Not usable IPs found") \
    row(KR_OPEN_NETINFO_DATABASE, 0x0014, "Open Netinfo database") \
    row(KR_ACCESS_NETINFO_USERS_KEY, 0x0015, "Access Netinfo users key") \
    row(KR_ACCESS_NETINFO_USER_KEY, 0x0016, "Access Netinfo user key") \
    row(KR_NO_USERS, 0x0017, "No users") \
    row(KR_OPEN_DISK_DEVICE, 0x0018, "Open disk device") \
    row(KR_READ_FROM_DISK_DEVICE, 0x0019, "Read from disk device") \
    row(KR_SIGNATURE_NOT_FOUND, 0x001A, "Signature not found") \
    row(KR_DNS_HOSTNAME, 0x001B, "DNS hostname") \
    row(KR_IP_ADDRESS_HOSTNAME, 0x001C, "IP address hostname") \
    row(KR_TCP_UDP_PORT, 0x001D, "TCP/UDP port") \
    row(KR_YES, 0x001F, "Yes") \
    row(KR_NO, 0x0020, "No") \
    row(KR_SUPPLIED_BUFFER_IS_NOT_LARGE_ENOUGH, 0x0021, "Supplied buffer is not large enough") \
    row(KR_FUNCTION_NOT_IMPLEMENTED, 0x0022, "Function not implemented") \
    row(KR_METADATA_CACHE_HIT, 0x0023, "Metadata cache hit") \
    row(KR_METADATA_CACHE_MISS, 0x0024, "Metadata cache miss") \
    row(KR_KERNEL_MODE_DRIVER_LOADED, 0x0025, "Kernel mode driver loaded") \
    row(KR_KERNEL_MODE_DRIVER_NOT_LOADED, 0x0026, "Kernel mode driver not loaded") \
    row(KR_KERNEL_MODE_DRIVER_PARTIALLY_LOADED, 0x0027, "Kernel mode driver partially loaded") \
    row(KR_UNKNOWN_SYSCTL_ID_CODE, 0x0028, "Unknown SYSCTL ID code") \
    row(KR_BAD_OBJECT_ID, 0x0029, "Bad object id") \
    row(KR_CANNOT_BMAP_CLUSTER, 0x002A, "Cannot BMAP cluster") \
    row(KR_RPC_SERVER, 0x002B, "RPC server") \
    row(KR_TCP_CONNECTION, 0x002C, "TCP connection") \
    row(KR_RPC_STUB_REGISTRATION, 0x002D, "RPC stub registration") \
    row(KR_DIRECTORY_REQUIRED, 0x002E, "Directory required") \
    row(KR_VOLUME_STATE_MODIFIED, 0x002F, "Volume state modified") \
    row(KR_VOLUME_STATE_NOT_MODIFIED, 0x0030, "Volume state not modified") \
    row(KR_VOLUME_NOT_MASTER, 0x0031, "Volume not master") \
    row(KR_VOLUME_NOT_ONLINE, 0x0032, "Volume not online") \
    row(KR_READ_CONFIGURATION_FILE, 0x0033, "Read configuration file") \
    row(KR_VOLUME_IS_CHANGED, 0x0034, "Volume is changed") \
    row(KR_VOLUME_IS_NEW, 0x0035, "Volume is new") \
    row(KR_CURRENT_TIME, 0x0036, "Current time") \
    row(KR_CONFIGURATION_FILE, 0x0037, "Configuration file") \
    row(KR_DUPLICATE_CONFIGURATION_FILE_SECTION, 0x0038, "Duplicate configuration file section") \
    row(KR_VOLUME_IS_UNCHAGED, 0x0039, "Volume is unchaged") \
    row(KR_MATCH, 0x003A, "Match") \
    row(KR_NOT_FOUND, 0x003B, "Not found") \
    row(KR_VOLUME_IS_REMOVED, 0x003C, "Volume is removed") \
    row(KR_NEXT_CONFIGURATION_VERSION, 0x003D, "Next configuration version") \
    row(KR_FOUND, 0x003E, "Found") \
    row(KR_MISSING_PARAMETER_WITHIN_CONFIGURATION_FILE, 0x003F, "Missing parameter within configuration file") \
    row(KR_CONFIGURATION_VERSION_OVERFLOW, 0x0040, "Configuration version overflow") \
    row(KR_FORKED, 0x0041, "Forked") \
    row(KR_REGULAR_FILE_REQUIRED, 0x0042, "Regular file required") \
    row(KR_FILESYSTEM_IS_CORRUPTED, 0x0043, "Filesystem is corrupted") \
    row(KR_UNKNOWN_BLOCK_DEVICE_BLOCK_SIZE, 0x0044, "Unknown block device block size") \
    row(KR_CANNOT_SEEK_FILE_HANDLE, 0x0045, "Cannot seek file handle") \
    row(KR_CANNOT_WRITE_TO_DISK_DEVICE, 0x0046, "Cannot write to disk device") \
    row(KR_NO_GROUPS, 0x0047, "No groups") \
    row(KR_DATA_UNCHANGED, 0x0048, "Data unchanged") \
    row(KR_REMOTE_CLOSED_CONNECTION, 0x0049, "Remote closed connection") \
    row(KR_TIMEOUT, 0x004A, "Timeout") \
    row(KR_OVERFLOW, 0x004D, "Overflow") \
    row(KR_ZERO, 0x004E, "Zero") \
    row(KR_RPC_CANCELED, 0x004F, "RPC canceled") \
    row(KR_REMOTE_IS_DOWN, 0x0054, "Remote is down") \
    row(KR_NOT_MATCH, 0x0055, "not match") \
    row(KR_VOLUME_IS_IN_PRIVATE_MODE_ON_REMOTE_MACHINE, 0x005A, "Volume is in private mode on remote machine.") \
    row(KR_FILE_NOT_OPENED, 0x005E, "File not opened") \
    row(KR_FAILOVER_GIVEUP, 0x005F, "Failover giveup") \
    row(KR_VOLUME_DISCONNECTED, 0x0063, "Volume disconnected") \
    row(KR_CORRUPTED, 0x0064, "Corrupted") \
    row(KR_CORRUPTED_SAN_TABLE, 0x0066, "Corrupted SAN table") \
    row(KR_MASTER_IS_FLUSHING_ON_DISK_BUT_CANNOT_BE_CONTACTED_BY_NETWORK, 0x0068, "Master is flushing on disk but cannot be contacted by network.") \
    row(KR_MEMCPY, 0x006A, "memcpy") \
    row(KR_ALREADY_MARKED, 0x006C, "Already marked") \
    row(KR_NOT_MARKED, 0x006D, "Not marked") \
    row(KR_VOLUME_HAS_NO_MASTER, 0x006E, "Volume has no master") \
    row(KR_NOP, 0x0070, "NOP") \
    row(KR_WRONG_USERNAME_OR_PASSWORD, 0x0071, "Wrong username or password") \
    row(KR_SPARSE_FILE, 0x0072, "Sparse file") \
    row(KR_SAN_SEQUENCE_NUMBER_MISMATCH, 0x0073, "SAN sequence number mismatch") \
    row(KR_UNKNOWN_MASTER_FOUND_ON_DISK, 0x0077, "Unknown master found on disk.") \
    row(KR_REVERSE_FLOW_OF_TIME, 0x0078, "Reverse flow of time") \
    row(KR_PRINTF_FORMAT_STRING_SYNTAX_ERROR, 0x0079, "printf format string syntax error") \
    row(KR_ITEM_ALREADY_EXISTS, 0x007A, "Item already exists") \
    row(KR_ITEM_DOES_NOT_EXIST, 0x007B, "Item does not exist") \
    row(KR_SHARING_VIOLATION, 0x007D, "Sharing violation") \
    row(KR_ACCESS_DENIED, 0x007E, "Access denied") \
    row(KR_INVALID_HANDLE_FILE_NOT_OPENED, 0x007F, "Invalid handle/File not opened") \
    row(KR_INPUT_OUTPUT_ERROR, 0x0080, "Input/output error") \
    row(KR_NETWORK_CONNECTION_REFUSED_BY_REMOTE_HOST, 0x0081, "Network connection refused by remote host") \
    row(KR_GENERIC_NETWORK_ERROR, 0x0082, "Generic network error") \
    row(KR_SERVER_RPC_MARSHALING_FAILED, 0x0083, "Server RPC marshaling failed") \
    row(KR_CLIENT_RPC_MARSHALING_FAILED, 0x0084, "Client RPC marshaling failed") \
    row(KR_RPC_MARSHALING_FAILED, 0x0085, "RPC marshaling failed") \
    row(KR_NO_MORE_ENTRIES, 0x0086, "No more entries") \
    row(KR_FILTER_DISCONNECTED, 0x008C, "Filter disconnected") \
    row(KR_BUSY, 0x008D, "Busy") \
    row(KR_VERSION_MISMATCH, 0x009B, "Version mismatch") \
    row(KR_MOUNT, 0x00A0, "Mount") \
    row(KR_UNMOUNT, 0x00A1, "Unmount") \
    row(KR_SETTING_SETTINGS_FAILED, 0x00A2, "Setting settings failed") \
    row(KR_GETTING_SETTINGS_FAILED, 0x00A3, "Getting settings failed") \
    row(KR_DIRECTORY_IS_NOT_EMPTY, 0x00A4, "Directory is not empty") \
    row(KR_FILENAME_REFERS_TO_A_DIRECTORY, 0x00B9, "Filename refers to a directory") \
    row(KR_MEMORY_POOL_IS_FULL, 0x00C5, "Memory pool is full") \
    row(KR_AN_OFFLINE_DYNAMIC_DISK_WAS_FOUND_USING_WMI_TOOLS, 0x00CC, "An offline dynamic disk was found using WMI tools") \
    row(KR_A_DYNAMIC_DISK_WAS_FOUND_USING_WMI_TOOLS, 0x00CD, "A dynamic disk was found using WMI tools") \
    row(KR_A_DYNAMIC_DISK_WAS_NOT_FOUND_USING_WMI_TOOLS, 0x00CE, "A dynamic disk was NOT found using WMI tools") \
    row(KR_ALREADY_LOGGED_IN, 0x00CF, "Already logged in") \
    row(KR_METHOD_NOT_ALLOWED, 0x00D0, "Method not allowed") \
    row(KR_LOGIN_REQUIRED, 0x00D1, "Login required") \
    row(KR_XML_PARSE_HAS_FAILED_AND_THE_XML_IS_CONSIDERED_BAD, 0x1001, "XML parse has failed and the XML is considered bad") \
    row(KR_MODULE_FAILED_TO_INITIALISE_CORRECTLY, 0x1002, "Module failed to initialise correctly") \
    row(KR_AN_EXTERNAL_LIBRARY_FAILED_TO_INIT, 0x1003, "An external library failed to init") \
    row(KR_MODULE_FAILED_TO_GENERATE_A_NEW_GLOBALLY_UNIQUE_UUID, 0x1004, "Module failed to generate a new globally unique UUID") \
    row(KR_FAILED_TO_OPEN_LOG_FILE_FOR_PARSING, 0x1005, "Failed to open log file for parsing") \
    row(KR_MODULE_FAILED_TO_QUERY_THE_LOG, 0x1006, "Module failed to query the log") \
    row(KR_BZIP2_LIB_FAILED_TO_OPEN_A_COMPRESSED_LOG, 0x1007, "bzip2 lib failed to open a compressed log") \
    row(KR_A_MESSAGE_RESOURCE_FOR_EVENT_LOG_PARSER_CANNOT_BE_LOADED, 0x1008, "A message resource for event log parser cannot be loaded") \
    row(KR_AN_OFFLINE_OR_FOREIGN_DYNAMIC_DISK_WAS_FOUND, 0x1009, "An offline or foreign dynamic disk was found") \
    row(KR_A_LUA_SCRIPT_FAILED_TO_EXECUTE, 0x100A, "A Lua script failed to execute") \
    row(KR_THE_RESEND_OF_AN_ENTRY_HAS_FAILED, 0x100B, "The resend of an entry has failed") \
    row(KR_THERE_IS_NO_CONNECTION_TO_THE_BACKEND, 0x100C, "There is no connection to the backend") \
    row(KR_A_REGISTRY_QUERY_HAS_FAILED, 0x100E, "A registry query has failed") \
    row(KR_THE_PROJECT_IS_OPENED_EXCLUSIVELY, 0x2001, "The project is opened exclusively") \
    row(KR_THE_PROJECT_IS_OPENED_FOR_READ_ONLY, 0x2002, "The project is opened for read-only") \
    row(KR_THE_PROJECT_IS_NOT_OPENED, 0x2003, "The project is not opened") \
    row(KR_THE_PROJECT_SIZE_ESTIMATION_SHOULD_STOP, 0x2004, "The project size estimation should stop") \
    row(KR_THE_VOLUME_GLOBAL_LOCK_IS_TAKEN, 0x2005, "The volume global lock is taken") \
    row(KR_THE_PROJECT_GLOBAL_LOCK_IS_TAKEN, 0x2006, "The project global lock is taken") \
    row(KR_THE_PROJECT_IS_OPENED_FOR_READ_AND_WRITE, 0x2007, "The project is opened for read and write") \
    row(KR_THE_PROJECT_IS_LOCKED, 0x2008, "The project is locked") \
    row(KR_THE_PROJECT_IS_NOT_LOCKED, 0x2009, "The project is not locked") \
    row(KR_THE_ADMIN_IS_LOGGED_IN_OR_TRYING_TO_LOG_IN_FROM_A_REMOTE_MACHINE, 0x200B, "The admin is logged in or trying to log in from a remote machine") \
    row(KR_THE_PARSED_RESULT_IS_IN_INCORRECT_FORMAT, 0x200C, "The parsed result is in incorrect format") \
    row(KR_THE_MULTIPLE_PROJECTS_OPERATION_WAS_PARTIALLY_COMPLETED, 0x200D, "The multiple projects operation was partially completed") \
    row(KR_THE_TEMPLATE_PROJECT_IS_NOT_AVAILABLE, 0x200E, "The template project is not available")

#define KR_INTERNAL_CODES_UNTEXTED(row) \
    row(KR_GREATER, 0x0097) \
    row(KR_LESS, 0x0098) \
    row(KR_EQUAL, 0x0099) \
    row(KR_INDEX_OUT_OF_RANGE, 0x00A7) \
    row(KR_PATH_NOT_FOUND, 0x00A8) \
    row(KR_DISK_FULL, 0x00B4) \
    row(KR_BAD_NETWORK_NAME, 0x00D2) \
    row(KR_BAD_NETWORK_PATH, 0x00D3) \
    row(KR_ACCESS_DENIED_2, 0x00D4)
// clang-format on
