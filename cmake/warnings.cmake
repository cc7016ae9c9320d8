# kr_warnings(target): the warning level that every target of this project holds. The options are those of
# GCC and clang; another compiler keeps its own level.
function(kr_warnings target)
  if(NOT CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang" OR CMAKE_CXX_COMPILER_FRONTEND_VARIANT STREQUAL "MSVC")
    return()
  endif()
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wconversion -Wshadow)
  # GCC follows the sanitizers' own code paths and warns of values that are always set.
  if(KR_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(${target} PRIVATE -Wno-maybe-uninitialized)
  endif()
  if(KR_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()
