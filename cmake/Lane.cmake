# What every target of a lane is built with: warnings, sanitizers, the runtime.
add_library(lane INTERFACE)
target_compile_features(lane INTERFACE cxx_std_20)
target_compile_options(lane INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)
# Result codes, addresses and counts share words by contract; aliasing follows the host's rules, not the type system's.
target_compile_options(lane INTERFACE -fno-strict-aliasing)

set(ARBOR_SANITIZE "" CACHE STRING "sanitizers of this lane, as -fsanitize takes them")
if(ARBOR_SANITIZE)
    target_compile_options(lane INTERFACE -fsanitize=${ARBOR_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(lane INTERFACE -fsanitize=${ARBOR_SANITIZE})
endif()

if(WIN32)
    target_link_options(lane INTERFACE -static)
    # The module's entry points and handlers are cdecl; the stack of a host's thread is aligned to 4 bytes only.
    target_compile_options(lane INTERFACE -mstackrealign)
    # The system walks a stack along its frame pointers.
    target_compile_options(lane INTERFACE -fno-omit-frame-pointer)
endif()

# Headers of a package reach the lane through a folder that holds nothing else: a cross compiler must not see /usr/include.
function(arbor_package_headers target folder)
    find_path(ARBOR_${folder}_HEADERS ${folder} PATHS /usr/include NO_CMAKE_FIND_ROOT_PATH REQUIRED)
    set(room ${CMAKE_BINARY_DIR}/packages/${folder})
    file(MAKE_DIRECTORY ${room})
    file(CREATE_LINK ${ARBOR_${folder}_HEADERS}/${folder} ${room}/${folder} SYMBOLIC)
    add_library(${target} INTERFACE)
    target_include_directories(${target} SYSTEM INTERFACE ${room})
endfunction()
