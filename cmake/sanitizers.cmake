# zrb_sanitize(target): instruments the target with the sanitizers named in ZRB_SANITIZE; every finding ends the
# program, so that a test with a finding fails.  Type information is not asked for: a host may be built without.
function(zrb_sanitize target)
  if(ZRB_SANITIZE)
    target_compile_options(${target} PRIVATE
      -fsanitize=${ZRB_SANITIZE} -fno-sanitize=vptr -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(${target} PRIVATE -fsanitize=${ZRB_SANITIZE})
  endif()
endfunction()
