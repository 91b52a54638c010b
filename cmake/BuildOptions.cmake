# The options that every target is built with: warnings, sanitizers, the runtime.
add_library(build_options INTERFACE)
target_compile_features(build_options INTERFACE cxx_std_20)
target_compile_options(build_options INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)
# Result codes, addresses and counts share words by contract; aliasing follows the host's rules, not the type system's.
target_compile_options(build_options INTERFACE -fno-strict-aliasing)

set(ARBOR_SANITIZE "" CACHE STRING "sanitizers of this preset, as -fsanitize takes them")
if(ARBOR_SANITIZE)
    target_compile_options(build_options INTERFACE -fsanitize=${ARBOR_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(build_options INTERFACE -fsanitize=${ARBOR_SANITIZE})
    # GCC's inserted checks hide that an empty std::optional isn't read.
    target_compile_options(build_options INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
endif()

if(WIN32)
    target_link_options(build_options INTERFACE -static)
    # The module's entry points and handlers are cdecl; the stack of a host's thread is aligned to 4 bytes only.
    target_compile_options(build_options INTERFACE -mstackrealign)
    # Doubles stay in the x87 registers, on which their texts depend.
    target_compile_options(build_options INTERFACE -msse2 -mfpmath=387)
    # The system walks a stack along its frame pointers.
    target_compile_options(build_options INTERFACE -fno-omit-frame-pointer)
endif()

# Headers of a package reach the build through a folder that holds nothing else: a cross compiler must not see /usr/include.
function(arbor_package_headers target folder)
    find_path(ARBOR_${folder}_HEADERS ${folder} HINTS /usr/include NO_CMAKE_FIND_ROOT_PATH REQUIRED)
    set(directory ${PROJECT_BINARY_DIR}/packages/${folder})
    file(MAKE_DIRECTORY ${directory})
    file(CREATE_LINK ${ARBOR_${folder}_HEADERS}/${folder} ${directory}/${folder} SYMBOLIC)
    add_library(${target} INTERFACE)
    target_include_directories(${target} SYSTEM INTERFACE ${directory})
endfunction()
