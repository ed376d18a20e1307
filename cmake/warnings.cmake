# zrb_set_warnings(target): the warnings that the project's own code is free of.  ZRB_WERROR makes them errors.
function(zrb_set_warnings target)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic
    -Wconversion -Wsign-conversion -Wdouble-promotion -Wimplicit-fallthrough
    -Wshadow -Wold-style-cast -Wcast-align -Wcast-qual
    -Wnon-virtual-dtor -Woverloaded-virtual
    -Wformat=2 -Wundef -Wvla)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(${target} PRIVATE -Wduplicated-cond -Wduplicated-branches -Wlogical-op)
    # These follow values through optimised code.  The checks that a sanitizer inserts send them astray.
    if(ZRB_SANITIZE)
      target_compile_options(${target} PRIVATE -Wno-maybe-uninitialized -Wno-array-bounds -Wno-stringop-overflow)
    else()
      target_compile_options(${target} PRIVATE -Wnull-dereference)
    endif()
    # g++ 12 warns about std::string's own operator+ ("a" + text) in optimised code: its bug 105651.
    if(CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
      target_compile_options(${target} PRIVATE -Wno-restrict)
    endif()
  elseif(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    target_compile_options(${target} PRIVATE -Wnull-dereference)
  endif()
endfunction()
