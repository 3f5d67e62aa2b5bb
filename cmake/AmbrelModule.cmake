# One static library per module, built from the Type.cpp files in its folder.
function(ambrel_library name)
  cmake_parse_arguments(ARG "" "" "DEPENDS" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/*.cpp")
  if(sources)
    add_library(${name} STATIC ${sources})
    target_include_directories(${name} PUBLIC "${CMAKE_SOURCE_DIR}/src")
    target_link_libraries(${name} PUBLIC ${ARG_DEPENDS})
  else()
    add_library(${name} INTERFACE)
    target_include_directories(${name} INTERFACE "${CMAKE_SOURCE_DIR}/src")
    target_link_libraries(${name} INTERFACE ${ARG_DEPENDS})
  endif()
endfunction()

# One GoogleTest executable per module, from the .cpp files in tests/<module>/.
function(ambrel_tests module)
  cmake_parse_arguments(ARG "" "" "DEPENDS" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/${module}/*.cpp")
  if(NOT sources)
    return()
  endif()
  add_executable(${module}Tests ${sources})
  target_include_directories(${module}Tests PRIVATE "${CMAKE_CURRENT_SOURCE_DIR}")
  target_link_libraries(${module}Tests PRIVATE ${module} ${ARG_DEPENDS} GTest::gtest GTest::gmock
                                               GTest::gtest_main)
  target_compile_definitions(${module}Tests PRIVATE
    AMBREL_SHARED_DIR="${AMBREL_SHARED_DIR}"
    AMBREL_BRANTLE="$<TARGET_FILE:brantle>")
  add_dependencies(${module}Tests brantle)
  gtest_discover_tests(${module}Tests DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 600)
endfunction()
