# Floors: each is one folder and one object library that sees its own folder and the floors it names, so an include
# that points upward does not compile.

find_package(Threads REQUIRED)

add_library(kestro_options INTERFACE)
target_compile_features(kestro_options INTERFACE cxx_std_20)
target_compile_options(kestro_options INTERFACE
  -Wall -Wextra -Wshadow -Wcast-qual -Werror -fno-strict-aliasing -fvisibility-inlines-hidden)
if(KESTRO_SANITIZE)
  target_compile_options(kestro_options INTERFACE
    -fsanitize=${KESTRO_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(kestro_options INTERFACE -fsanitize=${KESTRO_SANITIZE})
endif()

# kestro_floor(NAME floor [floor ...]): object library kestro_NAME of the sources in the current folder, above the floors
# named. main.cpp is left to the program that stands on the floor.
function(kestro_floor NAME)
  file(GLOB SOURCES CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/*.cpp")
  list(FILTER SOURCES EXCLUDE REGEX "/main\\.cpp$")
  add_library(kestro_${NAME} OBJECT ${SOURCES})
  # Left alone otherwise: a project that links the static libraries into a shared one of its own asks for it.
  if(BUILD_SHARED_LIBS)
    set_target_properties(kestro_${NAME} PROPERTIES POSITION_INDEPENDENT_CODE ON)
  endif()
  target_include_directories(kestro_${NAME} PUBLIC "${CMAKE_CURRENT_SOURCE_DIR}")
  target_link_libraries(kestro_${NAME} PRIVATE kestro_options)
  foreach(LOWER IN LISTS ARGN)
    target_link_libraries(kestro_${NAME} PUBLIC kestro_${LOWER})
  endforeach()
endfunction()

# kestro_library(NAME floor [floor ...]): the public library of some floors, which gives every public header by its bare
# file name.
function(kestro_library NAME)
  add_library(${NAME})
  add_library(Kestro::${NAME} ALIAS ${NAME})
  set_target_properties(${NAME} PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
  target_compile_features(${NAME} PUBLIC cxx_std_20)
  target_link_libraries(${NAME} PUBLIC Threads::Threads)
  if(KESTRO_SANITIZE)
    target_link_options(${NAME} INTERFACE -fsanitize=${KESTRO_SANITIZE})
  endif()
  foreach(FLOOR IN LISTS ARGN)
    target_sources(${NAME} PRIVATE $<TARGET_OBJECTS:kestro_${FLOOR}>)
    target_include_directories(${NAME} PUBLIC
      $<BUILD_INTERFACE:$<TARGET_PROPERTY:kestro_${FLOOR},SOURCE_DIR>>)
  endforeach()
  target_include_directories(${NAME} PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/Include> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/kestro>)
endfunction()
