# Checks that make a fault in memory harder to turn into control of the program, and end it instead. They are on
# where programs are built to be used. Sanitizers find more, and do not work beside fortified functions, which
# need optimisation besides.
if(CMAKE_BUILD_TYPE MATCHES "^(Release|RelWithDebInfo|MinSizeRel)$")
  set(hardened ON)
else()
  set(hardened OFF)
endif()
option(PLX_HARDENING "Build with stack protector, fortified functions, early binding and branch protection" ${hardened})

# Vector code reads and writes arrays by indices that its tests hold within bounds, and keeps nothing of the
# caller's on the stack: its sources are compiled with these options beside those of their target.
set(PLX_LANE_OPTIONS)

if(PLX_HARDENING)
  include(CheckCXXCompilerFlag)
  include(CheckPIESupported)
  check_pie_supported()
  add_compile_options(
    -fstack-protector-strong
    # Level 3 knows sizes that are computed when the program runs. A distribution's compiler may define another.
    -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3)
  set(PLX_LANE_OPTIONS -fno-stack-protector)
  # A large frame cannot jump over the page that guards the stack.
  check_cxx_compiler_flag(-fstack-clash-protection PLX_HAS_STACK_CLASH_PROTECTION)
  if(PLX_HAS_STACK_CLASH_PROTECTION)
    add_compile_options(-fstack-clash-protection)
    list(APPEND PLX_LANE_OPTIONS -fno-stack-clash-protection)
  endif()
  # Indirect calls and jumps arrive only where the compiler says so. x86 alone has it.
  check_cxx_compiler_flag(-fcf-protection PLX_HAS_CF_PROTECTION)
  if(PLX_HAS_CF_PROTECTION)
    add_compile_options(-fcf-protection)
  endif()
  # What the loader writes is written before the program begins, and read-only from then on.
  add_link_options(LINKER:-z,relro,-z,now)
endif()
