# Flags of the presets asan, asan-clang, tsan, fuzz and coverage, for every compilation and link.
if(BRINDLE_SANITIZERS)
  # -fno-sanitize-recover makes undefined behaviour fail the test.
  add_compile_options(-fsanitize=${BRINDLE_SANITIZERS} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${BRINDLE_SANITIZERS})
  if(CMAKE_CXX_COMPILER_ID STREQUAL Clang AND BRINDLE_SANITIZERS STREQUAL "address,undefined")
    # A shared runtime, as with gcc: an interposed function of a test finds the runtime's function by RTLD_NEXT only
    # there. ThreadSanitizer has no such preset, because clang 14 has no shared runtime for it.
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-runtime-dir
      OUTPUT_VARIABLE runtime OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    add_link_options(-shared-libasan LINKER:-rpath,${runtime})
  endif()
endif()
if(BRINDLE_COVERAGE)
  add_compile_options(--coverage)
  add_link_options(--coverage)
endif()
