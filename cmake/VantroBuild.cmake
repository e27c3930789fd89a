# How this project's targets are built: warnings, hardening, sanitizers, the library out of its rooms.

# Everything a target of this project is compiled with.
add_library(vantro_options INTERFACE)
target_include_directories(vantro_options INTERFACE
  ${PROJECT_SOURCE_DIR} $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>)
target_compile_options(vantro_options INTERFACE
  -Wall -Wextra -Wconversion -Wshadow
  # A fused multiply-add rounds once where the formulas round twice.
  -ffp-contract=off
  -fno-semantic-interposition
  -fstack-protector-strong)
target_link_options(vantro_options INTERFACE -Wl,-z,relro,-z,now,-z,noexecstack,-z,text)
if(VANTRO_WERROR)
  target_compile_options(vantro_options INTERFACE -Werror)
endif()
if(VANTRO_SANITIZE)
  target_compile_options(vantro_options INTERFACE
    -fsanitize=${VANTRO_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_compile_definitions(vantro_options INTERFACE _GLIBCXX_ASSERTIONS)
  target_link_options(vantro_options INTERFACE -fsanitize=${VANTRO_SANITIZE})
  if(VANTRO_FUZZERS)
    target_compile_options(vantro_options INTERFACE -fsanitize=fuzzer-no-link)
  endif()
else()
  # The sanitizers' own interceptors do not know the fortified calls.
  target_compile_options(vantro_options INTERFACE
    $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE> $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=2>)
endif()

# vantro_room(<name> <sources>...): one folder of the library.
function(vantro_room name)
  add_library(vantro_${name} OBJECT ${ARGN})
  target_link_libraries(vantro_${name} PRIVATE vantro_options)
  set_property(GLOBAL APPEND PROPERTY VANTRO_ROOMS vantro_${name})
endfunction()

# The shared library, and the same objects as an archive for tests that look inside.
function(vantro_library)
  get_property(rooms GLOBAL PROPERTY VANTRO_ROOMS)
  set(objects "")
  foreach(room IN LISTS rooms)
    list(APPEND objects $<TARGET_OBJECTS:${room}>)
  endforeach()

  add_library(vantro SHARED ${objects})
  add_library(Vantro::vantro ALIAS vantro)
  set_target_properties(vantro PROPERTIES
    VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}
    LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib
    # The engine is looked up by name: beside the library, unless LD_LIBRARY_PATH or an engine that
    # is loaded already comes first. CMake pads a search path of its own for the build with an empty
    # element, which would mean the current folder.
    BUILD_WITH_INSTALL_RPATH ON INSTALL_RPATH "$ORIGIN"
    LINK_DEPENDS "${PROJECT_SOURCE_DIR}/cmake/exports.map;${PROJECT_SOURCE_DIR}/cmake/interposable.list")
  target_include_directories(vantro PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  target_link_options(vantro PRIVATE
    -Wl,--enable-new-dtags
    -Wl,--version-script=${PROJECT_SOURCE_DIR}/cmake/exports.map
    -Wl,--dynamic-list=${PROJECT_SOURCE_DIR}/cmake/interposable.list)
  target_link_libraries(vantro PRIVATE $<BUILD_INTERFACE:vantro_options> Threads::Threads ${CMAKE_DL_LIBS})

  add_library(vantro_static STATIC EXCLUDE_FROM_ALL ${objects})
  target_include_directories(vantro_static PUBLIC ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
  target_link_libraries(vantro_static PUBLIC Threads::Threads ${CMAKE_DL_LIBS})
endfunction()
