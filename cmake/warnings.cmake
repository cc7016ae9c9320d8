# kr_warnings(target): the warning level that every target of this project holds.
function(kr_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wconversion -Wshadow)
  # GCC follows the sanitizers' own code paths and warns of values that are always set.
  if(KR_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(${target} PRIVATE -Wno-maybe-uninitialized)
  endif()
  if(KR_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()
