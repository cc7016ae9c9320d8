/// The stand-in's name resolution: a table in memory that knows "localhost" and what world.h adds,
/// so that nothing depends on the machine's resolver. The answers stand in a buffer of the calling
/// thread until its next call, as with Winsock.
#pragma once

#include <arpa/inet.h>

#include "platform/host/win_types.h"

/// IPv4 answers only. Defined here because the system's own header must not come along: its
/// functions have the same names.
struct hostent {
    char* h_name;
    char** h_aliases;
    short h_addrtype;
    short h_length;
    char** h_addr_list;
};

struct WSADATA {
    WORD wVersion;
    WORD wHighVersion;
};

inline constexpr int WSAEFAULT = 10014;
inline constexpr int WSAEAFNOSUPPORT = 10047;
inline constexpr int WSANOTINITIALISED = 10093;
inline constexpr int WSAHOST_NOT_FOUND = 11001;

constexpr WORD MAKEWORD(BYTE low, BYTE high) {
    return static_cast<WORD>(low | high << 8);
}

/// Counts; every start needs its WSACleanup. The lookups fail with 10093 before the first.
int WSAStartup(WORD version, WSADATA* data);
int WSACleanup();
/// The calling thread's error; the same word as GetLastError().
int WSAGetLastError();

/// Null with 10093, 11001 (unknown) or 10014. Letter case is ignored.
hostent* gethostbyname(const char* name);
/// `address` is 4 bytes in network order, `type` AF_INET; other arguments fail with 10047 or
/// 10014.
hostent* gethostbyaddr(const char* address, int length, int type);
