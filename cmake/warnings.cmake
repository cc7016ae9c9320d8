# kr_warnings(target): the warning level that every target of this project holds.
function(kr_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wconversion -Wshadow)
  if(KR_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()
