#!/bin/bash
# Builds and runs the guide's program in each way to use this project from another one: build_ways.sh BUILD_FOLDER
# The installation is moved after it was made, so that a path that refers to its first folder fails.
set -eu
build=$1
project=$(cd "$(dirname "$0")/../.." && pwd)
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cmake --install "$build" --prefix "$folder/installed" >/dev/null
prefix=$folder/moved
mv "$folder/installed" "$prefix"
# Left where a dependency of the build alone was exported.
! grep -rF 'LINK_ONLY:>' "$prefix" --include='*.cmake' || exit 1
export PKG_CONFIG_PATH
PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name arbor.pc)")

# Each way builds $way/small_host in $folder; $module is the module's file as that way names it.
find_package() {
    cmake -S "$project/examples/small_host" -B "$way" -D CMAKE_PREFIX_PATH="$prefix"
    cmake --build "$way"
    module=
}

pkg_config() {
    mkdir "$way"
    # shellcheck disable=SC2046 # options fall into words
    "${CXX:-c++}" -std=c++20 -Wall -Wextra -Werror -D ARBOR_MODULE="\"$(pkg-config --variable=module arbor)\"" \
        "$project/examples/small_host/small_host.cpp" -o "$way/small_host" $(pkg-config --cflags --libs arbor)
    module=
}

# The module's own compilation is left out: a minute, and no way differs in it.
add_subdirectory() {
    cmake -S "$project/tests/consumer/subproject" -B "$way" -D ARBOR_SOURCE="$project"
    cmake --build "$way" --target small_host
    module=$build/arbor.so
}

cd "$folder"
for way in find_package pkg_config add_subdirectory; do
    $way >log.txt 2>&1 || {
        cat log.txt
        exit 1
    }
    printed=$("$way/small_host" "$way.xml" ${module:+"$module"} 2>&1) || true
    [ "$printed" = $'Host\n    Starts = 1' ] || {
        echo "$way: the program printed: $printed"
        exit 1
    }
done
