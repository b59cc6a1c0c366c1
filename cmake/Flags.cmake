# Every compiler and linker flag of the project, each exception with its reason.
add_library(kzr_flags INTERFACE)
target_compile_features(kzr_flags INTERFACE cxx_std_20)
target_include_directories(kzr_flags INTERFACE ${PROJECT_SOURCE_DIR}/src)
target_compile_options(kzr_flags INTERFACE
  -Wall -Wextra -Werror -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wformat=2 -Wundef
  -fstack-protector-strong
  -g)

if(WIN32)
  target_compile_definitions(kzr_flags INTERFACE
    UNICODE _UNICODE WIN32_LEAN_AND_MEAN NOMINMAX STRICT
    _WIN32_WINNT=0x0601 WINVER=0x0601
    # The platform's own formatter: it allocates nothing and is small.
    __USE_MINGW_ANSI_STDIO=0)
  target_compile_options(kzr_flags INTERFACE
    $<$<COMPILE_LANGUAGE:CXX>:
      # A processor fault unwinds our frames like a throw (see src/fault).
      -fnon-call-exceptions
      # Platform headers cast function pointers and declare interfaces without virtual destructors.
      -Wno-cast-function-type
      -Wno-non-virtual-dtor
      >
    # They let the linker drop data that nothing refers to (43 KB of the DLL). Of functions it keeps all that have
    # unwind information, which is why the rooms below have no sections of their own.
    -ffunction-sections -fdata-sections)
  target_link_options(kzr_flags INTERFACE
    # Named again here, since it brings the library of the stack guard.
    -static -fstack-protector-strong -Wl,--gc-sections -Wl,--dynamicbase -Wl,--high-entropy-va -Wl,--nxcompat)
endif()

# What only the component's own rooms are built with.
add_library(kzr_room_flags INTERFACE)
if(WIN32)
  target_compile_options(kzr_room_flags INTERFACE
    $<$<COMPILE_LANGUAGE:CXX>:
      $<$<CONFIG:Release>:-Oz>
      -fno-rtti
      # A thread-safe static costs a TLS slot on every load of the DLL; ours are made before threads meet them.
      -fno-threadsafe-statics
      # Both make copies of library templates that every file would then hold for itself.
      -fno-ipa-sra -fno-ipa-cp
      # Size would have every copy of a text made byte by byte in place.
      -mstringop-strategy=libcall
      # Every function has unwind information, which this linker keeps together with its function: nothing
      # would be dropped, and each section of its own is padded.
      -fno-function-sections -fno-data-sections
      >)
endif()

if(KZR_UBSAN_TRAP)
  # No sanitizer runtime exists for PE: undefined behaviour ends in an illegal instruction instead.
  target_compile_options(kzr_flags INTERFACE -fsanitize=undefined -fsanitize-undefined-trap-on-error
    # Interfaces of other modules carry no type information to check against.
    -fno-sanitize=vptr)
endif()

# The rooms are counted, not the tests. Every object file leaves its counts beside itself when its module goes.
add_library(kzr_coverage_flags INTERFACE)
if(KZR_COVERAGE)
  target_compile_options(kzr_coverage_flags INTERFACE
    $<$<COMPILE_LANGUAGE:CXX>:--coverage -fprofile-update=atomic -O0>)
  target_link_options(kzr_flags INTERFACE --coverage)
endif()

# Loops here wait for other processes; unrolling them only makes the module larger.
string(REPLACE "-O3" "-O2" CMAKE_CXX_FLAGS_RELEASE "${CMAKE_CXX_FLAGS_RELEASE}")
string(REPLACE "-O3" "-O2" CMAKE_C_FLAGS_RELEASE "${CMAKE_C_FLAGS_RELEASE}")
