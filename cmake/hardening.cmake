# zrb_harden(target): compiler and linker protections that cost little.
function(zrb_harden target)
  target_compile_options(${target} PRIVATE -fstack-protector-strong -fstack-clash-protection -fcf-protection)
  if(ZRB_SANITIZE)
    # Sanitizers have checks of their own in place of the fortified C functions.
    target_compile_definitions(${target} PRIVATE _GLIBCXX_ASSERTIONS)
  else()
    # Fortified functions need an optimised build.
    target_compile_options(${target} PRIVATE
      $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE> $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=2>)
    target_compile_definitions(${target} PRIVATE $<$<CONFIG:Debug>:_GLIBCXX_ASSERTIONS>)
  endif()
  target_link_options(${target} PRIVATE LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack)
endfunction()
