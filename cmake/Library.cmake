# libqapi.a and libqapi.so, from one set of position-independent objects.
file(GLOB_RECURSE QAPI_SOURCES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/*.cpp)
add_library(qapi_objects OBJECT ${QAPI_SOURCES})
target_include_directories(qapi_objects PUBLIC src)
target_link_libraries(qapi_objects PUBLIC qapi_build Threads::Threads)
if(QAPI_PRECOMPILE)
  target_precompile_headers(qapi_objects PRIVATE <algorithm> <array> <atomic> <condition_variable> <cstring>
                            <functional> <map> <memory> <mutex> <optional> <set> <span> <string> <string_view>
                            <vector>)
endif()

add_library(qapi_static STATIC $<TARGET_OBJECTS:qapi_objects>)
add_library(qapi_shared SHARED $<TARGET_OBJECTS:qapi_objects>)
foreach(library qapi_static qapi_shared)
  target_link_libraries(${library} PUBLIC Threads::Threads)
  target_compile_features(${library} INTERFACE cxx_std_17) # what the public headers ask of a host
  target_include_directories(${library} PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/src>
                                               $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  set_target_properties(${library} PROPERTIES OUTPUT_NAME qapi LINKER_LANGUAGE CXX)
endforeach()

# Hidden visibility alone is not enough: the standard library's headers mark their templates as visible, and each one
# that is instantiated here would be exported, to be mixed at run time with the host's own. The list of exports decides.
set(QAPI_EXPORTS ${PROJECT_SOURCE_DIR}/cmake/qapi.exports)
set_target_properties(qapi_shared PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}
                                             LINK_DEPENDS ${QAPI_EXPORTS})
target_link_options(qapi_shared PRIVATE -Wl,--version-script=${QAPI_EXPORTS})
# All names are bound when the library is loaded: a function that is bound at its first call has the registers of that
# moment, keys among them, copied to the stack by the linker. And what is bound can be made read-only.
target_link_options(qapi_shared PRIVATE -Wl,-z,relro,-z,now)
if(NOT QAPI_SANITIZE) # a sanitizer's own functions are left to the host program
  target_link_options(qapi_shared PRIVATE -Wl,-z,defs)
endif()
