# The portable core on the build machine: the same sources and the same tests as in the Windows programs.
#   KZR_SANITIZE  address and undefined-behaviour sanitizers (gcc or clang)
#   KZR_FUZZ      coverage-guided fuzzers, built with clang only; tests/native/fuzz runs them

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

add_executable(kzr_native_tests ${portable_sources} ${portable_tests} support/Rounds.cpp)
target_link_libraries(kzr_native_tests PRIVATE kzr_native_flags gtest_main)
add_test(NAME kzr_native_tests COMMAND kzr_native_tests)

# The rooms that threads share, over the locks of the build machine, under the thread sanitizer. It cannot be had
# together with the others, so these programs have flags of their own.
if(KZR_SANITIZE)
  set(listener_list ${PROJECT_SOURCE_DIR}/src/backend/KzrAppEventSink.cpp ${PROJECT_SOURCE_DIR}/src/com/ModuleCount.cpp
    native/threads/Listeners_test.cpp native/shim/Shim.cpp support/Rounds.cpp)
  set(shared_rooms
    ${PROJECT_SOURCE_DIR}/src/backend/AxKzrApp.cpp ${PROJECT_SOURCE_DIR}/src/backend/InvokeMethod.cpp
    ${PROJECT_SOURCE_DIR}/src/backend/Arguments.cpp ${PROJECT_SOURCE_DIR}/src/com/ComPtr.cpp
    ${PROJECT_SOURCE_DIR}/src/com/Error.cpp
    ${PROJECT_SOURCE_DIR}/src/backend/KzrControlSite.cpp
    ${PROJECT_SOURCE_DIR}/src/cache/CacheManager.cpp ${PROJECT_SOURCE_DIR}/src/cache/UserTable.cpp
    ${PROJECT_SOURCE_DIR}/src/com/Lock.cpp ${PROJECT_SOURCE_DIR}/src/com/Variant.cpp
    native/threads/FakeBackend.cpp native/threads/Races_test.cpp)
  function(kzr_thread_program name)
    add_executable(${name} ${ARGN})
    target_link_libraries(${name} PRIVATE kzr_flags gtest_main)
    target_include_directories(${name} BEFORE PRIVATE ${CMAKE_CURRENT_SOURCE_DIR}/native/shim ${CMAKE_CURRENT_SOURCE_DIR})
    target_compile_options(${name} PRIVATE -fsanitize=thread -O1
      # With the check of the lock order.
      -UNDEBUG)
    target_link_options(${name} PRIVATE -fsanitize=thread)
  endfunction()
  kzr_thread_program(kzr_native_threads_tests ${shared_rooms} ${listener_list})
  kzr_thread_program(kzr_planted_listeners ${listener_list})
  target_compile_definitions(kzr_planted_listeners PRIVATE KZR_PLAIN_ATOMICS)
  add_dependencies(kzr_native_threads_tests kzr_planted_listeners)
endif()

if(KZR_FUZZ)
  if(NOT CMAKE_CXX_COMPILER_ID MATCHES Clang)
    message(FATAL_ERROR "KZR_FUZZ needs clang: -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++")
  endif()
  function(kzr_fuzzer name)
    add_executable(kzr_fuzz_${name} native/fuzz_${name}.cpp ${ARGN})
    target_link_libraries(kzr_fuzz_${name} PRIVATE kzr_native_flags)
    target_compile_options(kzr_fuzz_${name} PRIVATE ${sanitize} -fsanitize=fuzzer)
    target_link_options(kzr_fuzz_${name} PRIVATE ${sanitize} -fsanitize=fuzzer)
  endfunction()
  kzr_fuzzer(user_list ${PROJECT_SOURCE_DIR}/src/cache/UserTable.cpp)
  kzr_fuzzer(identifier ${PROJECT_SOURCE_DIR}/src/cache/UserTable.cpp)
  kzr_fuzzer(serial_numbers)
  kzr_fuzzer(validity ${PROJECT_SOURCE_DIR}/src/objects/Validity.cpp)
  kzr_fuzzer(log_line ${PROJECT_SOURCE_DIR}/src/log/LogLine.cpp native/shim/Formatter.cpp)
  target_include_directories(kzr_fuzz_log_line BEFORE PRIVATE ${CMAKE_CURRENT_SOURCE_DIR}/native/shim)
  # The format of a line is a literal of ours, two frames above.
  set_source_files_properties(${PROJECT_SOURCE_DIR}/src/log/LogLine.cpp PROPERTIES COMPILE_OPTIONS -Wno-format-nonliteral)
  kzr_fuzzer(planted)
endif()
