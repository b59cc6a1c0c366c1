# Header-only libraries of the build machine, in a folder of links of their own: the rest of the system's
# include folder is another platform's and must stay out of sight.
#   KZR_HEADER_LIBRARIES   the folder: CLI/ (command lines), nlohmann/ (JSON)
set(KZR_HEADER_LIBRARIES ${PROJECT_BINARY_DIR}/header-libraries)
file(MAKE_DIRECTORY ${KZR_HEADER_LIBRARIES})
foreach(library CLI/CLI.hpp nlohmann/json.hpp)
  get_filename_component(name ${library} DIRECTORY)
  find_path(KZR_${name}_DIR ${library} PATHS /usr/include NO_CMAKE_FIND_ROOT_PATH REQUIRED)
  file(CREATE_LINK ${KZR_${name}_DIR}/${name} ${KZR_HEADER_LIBRARIES}/${name} SYMBOLIC)
endforeach()
