/// Texts of results: of the code alone ("Out of memory") and of the whole result (error "Out of
/// memory" from "Unknown source"). Public; reads constant tables and, for Win32 errors, the
/// system's message table. Nothing here logs or keeps state: safe from any thread. All sizes are in
/// bytes, the terminator included.
#pragma once

#include "../platform/types.h"
#include "result.h"

/// The text of the result's code in its code space, written with its terminator into `buffer`,
/// which must not be null and has `*size` bytes of room. Codes without a text have one that says
/// so. Sets `*size` to the size of the text, whether or not it fitted; for a Win32 error on success
/// only.
///  - KR_SUPPLIED_BUFFER_IS_NOT_LARGE_ENOUGH: nothing was written; for a Win32 error the beginning
///    of the text, as in kr_result_win32_message;
///  - KR_GENERIC: the system has no text for the Win32 error;
///  - KR_INVALID_ARGUMENT_TO_FUNCTION: a null `size`, or a null buffer with room for the text.
[[nodiscard]] kr_result kr_get_result_code_description(kr_result result, kr_char* buffer,
                                                       size_t* size);

/// The whole description: outcome, code text and source. `buffer` may be null, which only measures;
/// otherwise it has `*size` bytes of room. Sets `*size` to the size of the whole description,
/// whether or not it fitted. A text that does not fit is cut to the room and terminated, and the
/// result is the success-typed KR_SUPPLIED_BUFFER_IS_NOT_LARGE_ENOUGH, which kr_result_failed does
/// not see.
///  - KR_UNEXPECTED_BEHAVIOUR: a buffer with less than 2 bytes;
///  - KR_SUPPLIED_BUFFER_IS_NOT_LARGE_ENOUGH: the system's text for a Win32 error has more than 127
///    characters;
///  - KR_GENERIC: the system has no text for the Win32 error;
///  - KR_INVALID_ARGUMENT_TO_FUNCTION: a null `size`.
[[nodiscard]] kr_result kr_get_result_description2(kr_result result, kr_char* buffer, size_t* size);

/// kr_get_result_description2 with the size by value.
[[nodiscard]] kr_result kr_get_result_description(kr_result result, kr_char* buffer, size_t size);

/// The system's text for a Win32 error number in the user's language, written into `buffer` of
/// `*size` bytes. Sets `*size` to the size of the text on success only.
///  - KR_SUPPLIED_BUFFER_IS_NOT_LARGE_ENOUGH: it does not fit. The system may have written what
///    does, cut to the room and terminated;
///  - KR_GENERIC: the system has no text for the number, or refuses the buffer;
///  - KR_INVALID_ARGUMENT_TO_FUNCTION: a null `size`, or a null buffer with room.
[[nodiscard]] kr_result kr_result_win32_message(u16 error, kr_char* buffer, size_t* size);
