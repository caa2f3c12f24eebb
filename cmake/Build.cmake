# What every target of this tree is built with: language level, warnings, widths, sanitizers.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(THREADS_PREFER_PTHREAD_FLAG ON)
find_package(Threads REQUIRED)

add_library(qapi_build INTERFACE)
target_compile_options(qapi_build INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)
target_compile_definitions(qapi_build INTERFACE _FILE_OFFSET_BITS=64 _TIME_BITS=64)
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  target_compile_options(qapi_build INTERFACE -Wthread-safety)
endif()
if(QAPI_SANITIZE)
  add_compile_options(-fsanitize=${QAPI_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${QAPI_SANITIZE})
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # The flow analysis of g++ takes the sanitizers' checks for paths of the program. The same code is compiled with
    # these as errors in the presets without sanitizers.
    target_compile_options(qapi_build INTERFACE -Wno-maybe-uninitialized -Wno-stringop-overflow -Wno-array-bounds
                                                -Wno-restrict -Wno-null-dereference)
  endif()
endif()
if(QAPI_SANITIZE MATCHES thread)
  # ThreadSanitizer wants its shadow memory at fixed addresses, and kernels that randomise more than 28 bits of an
  # address (vm.mmap_rnd_bits) may have put something there. Test programs therefore run with the randomisation off,
  # where the machine lets them: some containers forbid it.
  execute_process(COMMAND setarch -R true RESULT_VARIABLE setarch_failed OUTPUT_QUIET ERROR_QUIET)
  if(setarch_failed EQUAL 0)
    set(CMAKE_CROSSCOMPILING_EMULATOR setarch -R)
  else()
    message(WARNING "setarch -R fails here: if programs of this build end as they start, lower vm.mmap_rnd_bits to 28")
  endif()
endif()
