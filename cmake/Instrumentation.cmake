# What the asan, asan-clang, tsan and coverage presets add to every compilation and link.
if(BRINDLE_SANITIZERS)
  # A finding of the undefined-behaviour sanitizer must fail the test, not scroll past.
  add_compile_options(-fsanitize=${BRINDLE_SANITIZERS} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${BRINDLE_SANITIZERS})
  if(CMAKE_CXX_COMPILER_ID STREQUAL Clang AND BRINDLE_SANITIZERS STREQUAL "address,undefined")
    # As gcc does it. In the executable, the runtime's functions would not be the next ones after a test's stand-ins. For
    # that reason there is no such preset for ThreadSanitizer, of which clang 14 has no shared runtime.
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-runtime-dir
      OUTPUT_VARIABLE runtime OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    add_link_options(-shared-libasan LINKER:-rpath,${runtime})
  endif()
endif()
if(BRINDLE_COVERAGE)
  add_compile_options(--coverage)
  add_link_options(--coverage)
endif()
