# What the asan, tsan and coverage presets add to every compilation and link.
if(BRINDLE_SANITIZERS)
  # A finding of the undefined-behaviour sanitizer must fail the test, not scroll past.
  add_compile_options(-fsanitize=${BRINDLE_SANITIZERS} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${BRINDLE_SANITIZERS})
endif()
if(BRINDLE_COVERAGE)
  add_compile_options(--coverage)
  add_link_options(--coverage)
endif()
