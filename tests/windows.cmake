# Tests are ordinary programs: they catch what they throw and keep their symbols.
file(GLOB support CONFIGURE_DEPENDS support/*.cpp)
add_library(kzr_test_support STATIC ${support})
target_link_libraries(kzr_test_support PUBLIC kzr_flags gtest ole32 oleaut32 uuid shell32 advapi32 user32 ntdll)
# This compiler sees overlaps in joined strings where there are none (its bug 105651).
target_compile_options(kzr_test_support PUBLIC $<$<COMPILE_LANGUAGE:CXX>:-Wno-restrict>
  # Tables of rows run once and compile for minutes: the time goes where a developer waits for it.
  $<$<COMPILE_LANGUAGE:CXX>:-O0>)
target_include_directories(kzr_test_support PUBLIC ${PROJECT_SOURCE_DIR}/tests ${KZR_IDL_DIR})
add_dependencies(kzr_test_support kzr_idl)

# Log libraries for the tests, each in a file of its own; a test copies the one it wants to the name that counts.
add_custom_target(kzr_fakes)
foreach(fake Whole Faulting LogInitializeA LogOutputA LogOutputW LogTerminateA)
  add_library(kzr_fake_${fake} SHARED fakes/log/FakeLogLibrary.cpp)
  target_link_libraries(kzr_fake_${fake} PRIVATE kzr_flags)
  set_target_properties(kzr_fake_${fake} PROPERTIES PREFIX ""
    RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/tests/fakes
    ARCHIVE_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/fakes)
  add_dependencies(kzr_fakes kzr_fake_${fake})
  if(fake MATCHES "^Log")
    set_target_properties(kzr_fake_${fake} PROPERTIES OUTPUT_NAME Without${fake})
    target_compile_definitions(kzr_fake_${fake} PRIVATE WITHOUT_${fake})
  else()
    set_target_properties(kzr_fake_${fake} PROPERTIES OUTPUT_NAME ${fake})
  endif()
endforeach()
target_compile_definitions(kzr_fake_Faulting PRIVATE FAULTS)

# Counts lines instead of keeping them.
add_library(kzr_fake_Counting SHARED fakes/log/CountingLogLibrary.cpp)
# A component with every bug that the hardening tests look for.
add_library(kzr_fake_PlantedBugs SHARED fakes/planted/PlantedBugs.cpp $<TARGET_OBJECTS:kzr_fault>)
target_link_libraries(kzr_fake_PlantedBugs PRIVATE oleaut32)
target_include_directories(kzr_fake_PlantedBugs PRIVATE ${PROJECT_SOURCE_DIR}/tests)
foreach(fake Counting PlantedBugs)
  target_link_libraries(kzr_fake_${fake} PRIVATE kzr_flags)
  set_target_properties(kzr_fake_${fake} PROPERTIES PREFIX "" OUTPUT_NAME ${fake}
    RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/tests/fakes
    ARCHIVE_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/fakes)
  add_dependencies(kzr_fakes kzr_fake_${fake})
endforeach()

function(kzr_test_program name)
  cmake_parse_arguments(arg "" "" "ROOMS" ${ARGN})
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${name}/*.cpp)
  if(NOT sources)
    return()
  endif()
  foreach(room ${arg_ROOMS})
    list(APPEND sources $<TARGET_OBJECTS:kzr_${room}>)
  endforeach()
  add_executable(kzr_${name}_tests ${sources} $<TARGET_OBJECTS:kzr_ids>)
  target_link_libraries(kzr_${name}_tests PRIVATE kzr_test_support gdi32)
  add_dependencies(kzr_${name}_tests kzr_fakes)
  set_target_properties(kzr_${name}_tests PROPERTIES
    RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/tests)
endfunction()

kzr_test_program(unit ROOMS fault com log backend cache)
# Of the objects only the portable part: the rest is tested through the DLL.
target_sources(kzr_unit_tests PRIVATE ${PROJECT_SOURCE_DIR}/src/objects/Validity.cpp)
kzr_test_program(component)
if(KZR_COVERAGE)
  # Its limits of time are wider.
  target_compile_definitions(kzr_unit_tests PRIVATE KZR_COVERAGE)
endif()
# Hostile callers, backends and moments; tests/support/Rounds.h tells how to have more of them.
kzr_test_program(hardening)
if(TARGET kzr_hardening_tests)
  # The table of all methods, and the container and the event sink of the control's tests.
  target_sources(kzr_hardening_tests PRIVATE
    ${PROJECT_SOURCE_DIR}/tests/component/TypeInfoTable.cpp ${PROJECT_SOURCE_DIR}/tests/control/Container.cpp)
endif()
# Objects that no client can hold.
kzr_test_program(objects ROOMS fault com log backend cache frame objects control)
kzr_test_program(registration ROOMS fault com)
# In containers, with windows: needs a display.
kzr_test_program(control)
if(TARGET kzr_control_tests)
  # Wine shows the build machine's files as drive Z.
  add_dependencies(kzr_control_tests usbkeyhost kzr_test_backend)
  target_compile_definitions(kzr_control_tests PRIVATE
    KZR_USBKEYHOST="Z:$<TARGET_FILE:usbkeyhost>" KZR_TEST_BACKEND="Z:$<TARGET_FILE:kzr_test_backend>")
endif()

# The parts of registration that have a surface of their own; the rest is seen through the DLL.
if(TARGET kzr_registration_tests)
  target_sources(kzr_registration_tests PRIVATE
    ${PROJECT_SOURCE_DIR}/src/frame/RegistryScript.cpp ${PROJECT_SOURCE_DIR}/src/frame/ClassTable.cpp)
  target_link_libraries(kzr_registration_tests PRIVATE version)
endif()

# What a build that sees more must find before its silence counts for anything.
if(KZR_PAGE_HEAP)
  kzr_test_program(page_heap)
endif()
if(KZR_UBSAN_TRAP)
  kzr_test_program(ubsan)
endif()

add_subdirectory(fakes)
# Host of the registration-free test.
add_subdirectory(regfree)

# What the built type library says, for the checks of tests/docs.
add_executable(kzr_typelib_dump docs/TypeLibraryDump.cpp)
target_link_libraries(kzr_typelib_dump PRIVATE kzr_flags ole32 oleaut32)
target_link_options(kzr_typelib_dump PRIVATE -municode)
set_target_properties(kzr_typelib_dump PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/tests)

# What the component costs; script/bench tells it.
add_subdirectory(bench)
