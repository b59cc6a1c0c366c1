# The portable core on the build machine: the same sources and the same tests as in the Windows programs.
#   KZR_SANITIZE  address and undefined-behaviour sanitizers (gcc or clang)
#   KZR_FUZZ      coverage-guided fuzzers, built with clang only; run as kzr_fuzz_user_list, kzr_fuzz_validity

enable_testing()
set(portable_sources
  ${PROJECT_SOURCE_DIR}/src/cache/UserTable.cpp
  ${PROJECT_SOURCE_DIR}/src/objects/Validity.cpp)
file(GLOB portable_tests CONFIGURE_DEPENDS
  native/*_test.cpp unit/cache/UserTable*.cpp unit/objects/Validity*.cpp)

add_library(kzr_native_flags INTERFACE)
target_link_libraries(kzr_native_flags INTERFACE kzr_flags)
target_include_directories(kzr_native_flags INTERFACE ${PROJECT_SOURCE_DIR}/tests)

set(sanitize -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
if(KZR_SANITIZE)
  target_compile_options(kzr_native_flags INTERFACE ${sanitize})
  target_link_options(kzr_native_flags INTERFACE ${sanitize})
endif()

add_executable(kzr_native_tests ${portable_sources} ${portable_tests})
target_link_libraries(kzr_native_tests PRIVATE kzr_native_flags gtest_main)
add_test(NAME kzr_native_tests COMMAND kzr_native_tests)

if(KZR_FUZZ)
  if(NOT CMAKE_CXX_COMPILER_ID MATCHES Clang)
    message(FATAL_ERROR "KZR_FUZZ needs clang: -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++")
  endif()
  foreach(name user_list validity)
    add_executable(kzr_fuzz_${name} ${portable_sources} native/fuzz_${name}.cpp)
    target_link_libraries(kzr_fuzz_${name} PRIVATE kzr_native_flags)
    target_compile_options(kzr_fuzz_${name} PRIVATE ${sanitize} -fsanitize=fuzzer)
    target_link_options(kzr_fuzz_${name} PRIVATE ${sanitize} -fsanitize=fuzzer)
  endforeach()
endif()
