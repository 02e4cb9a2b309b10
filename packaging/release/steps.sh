# The steps of scripts/package, which sources this file.
# shellcheck shell=bash

step() { echo "== $*"; }

# What is compiled: the programs and the module of the windows.
built_files() { # built_files BUILD
    local name
    for name in fenlo fenlo-clipboard fenlo-trigger libfenlo_screens.so; do echo "$1/src/app/$name"; done
}

# Runs one of these steps with the checkout SOURCES at a place that is the same for every checkout: a mount that only the step
# sees. The order of qmlcachegen's variables, and what cmake writes down for the packing, come out of paths.
build_place=/usr/src
at_the_place() { # at_the_place SOURCES STEP ARGUMENTS…
    # shellcheck disable=SC2016 # for the inner shell
    unshare --mount bash -euo pipefail -c '
        mount --bind "$2" "$1"
        cd "$1"
        source packaging/release/steps.sh
        "${@:3}"' - "$build_place" "$@"
}

build_and_pack() { # build_and_pack BUILD OUT COMMIT
    configure_and_build "$1" "$3"
    pack "$1" "$2"
}

configure_and_build() { # configure_and_build BUILD COMMIT
    step "building in $1"
    rm -rf "$1"               # rcc notes the time of the commit, and does not run again for another
    export QT_HASH_SEED=0
    cmake --preset package -DFENLO_BUILD="$2" >/dev/null
    # Else qmlcachegen's variables come in an order of chance: it sorts them by their addresses.
    setarch --addr-no-randomize cmake --build --preset package
}

pack() { # pack BUILD OUT
    umask 022 # it decides the modes of folders
    mkdir -p "$2"
    make_deb "$1" "$2"
    make_symbols "$1" "$2"
    make_portable "$1" "$2"
}

make_deb() { # make_deb BUILD OUT
    step "the Debian package"
    rm -rf "$1/cpack"
    cpack --config "$1/CPackConfig.cmake" -G DEB -B "$1/cpack" >"$1/cpack.log" 2>&1 || { cat "$1/cpack.log"; return 1; }
    cp "$1"/cpack/*.deb "$2/"
}

# Debug symbols by build-id, where debuggers look for them.
make_symbols() { # make_symbols BUILD OUT
    step "the debug symbols"
    local stage=$1/symbols file id version architecture
    rm -rf "$stage"
    for file in $(built_files "$1"); do
        id=$(readelf --notes "$file" | sed -n 's/.*Build ID: //p')
        mkdir -p "$stage/usr/lib/debug/.build-id/${id:0:2}"
        objcopy --only-keep-debug --compress-debug-sections "$file" "$stage/usr/lib/debug/.build-id/${id:0:2}/${id:2}.debug"
        chmod 644 "$stage/usr/lib/debug/.build-id/${id:0:2}/${id:2}.debug"
    done
    version=$(dpkg-deb --field "$2"/fenlo_*.deb Version)
    architecture=$(dpkg-deb --field "$2"/fenlo_*.deb Architecture)
    mkdir -p "$stage/DEBIAN" "$stage/usr/share/doc"
    ln -s fenlo "$stage/usr/share/doc/fenlo-dbgsym"
    printf '%s\n' "Package: fenlo-dbgsym" "Version: $version" "Architecture: $architecture" "Section: debug" \
        "Priority: optional" "Maintainer: Fenlo <support@fenlo.example>" "Depends: fenlo (= $version)" \
        "Description: debug symbols for fenlo" >"$stage/DEBIAN/control"
    find "$stage" -exec touch --no-dereference --date="@$SOURCE_DATE_EPOCH" {} +
    dpkg-deb --root-owner-group --build "$stage" "$2/fenlo-dbgsym_${version}_$architecture.deb" >/dev/null
}

make_portable() { # make_portable BUILD OUT
    step "the portable archive"
    local stage=$1/portable name depends
    name=fenlo-$(dpkg-deb --field "$2"/fenlo_*.deb Version)-$(uname -m)
    rm -rf "$stage"
    cmake --install "$1" --prefix "$stage/$name" --strip >/dev/null
    echo "portable archive" >"$stage/$name/share/fenlo/packaging"
    depends=$(dpkg-deb --field "$2"/fenlo_*.deb Depends)
    sed -e "s/@GLIBC@/$(oldest_glibc "$1")/" -e "s/@NAME@/$name/g" -e "s/@DEPENDS@/$depends/" packaging/portable/README.txt >"$stage/$name/README.txt"
    tar --sort=name --mtime="@$SOURCE_DATE_EPOCH" --owner=0 --group=0 --numeric-owner --format=gnu -C "$stage" -cf - "$name" |
        xz -T1 >"$2/$name.tar.xz"
}

oldest_glibc() { # oldest_glibc BUILD
    built_files "$1" | xargs objdump -T | grep -o 'GLIBC_2[.0-9]*' | sort -uV | tail -1 | cut -d_ -f2
}

# Another folder, clock, time zone, language, umask and number of jobs, and a compiler cache of its own, which has nothing that
# the first build compiled.
build_again_and_compare() { # build_again_and_compare OUT COMMIT
    local elsewhere="/var/tmp/fenlo-again/another name" file
    git worktree remove --force "$elsewhere" 2>/dev/null || true
    git worktree add --detach --force "$elsewhere" HEAD >/dev/null
    (
        umask 077
        export TZ=Pacific/Kiritimati LC_ALL=C.UTF-8 CCACHE_DIR=/var/tmp/fenlo-again/ccache
        CMAKE_BUILD_PARALLEL_LEVEL=$(($(nproc) + 1))
        export CMAKE_BUILD_PARALLEL_LEVEL
        at_the_place "$elsewhere" build_and_pack build/package again "$2"
    )
    step "comparing two builds"
    for file in "$1"/*.deb "$1"/*.tar.xz; do
        cmp "$file" "$elsewhere/again/${file##*/}" || { diffoscope "$file" "$elsewhere/again/${file##*/}"; return 1; }
        echo "the same bytes: ${file##*/}"
    done
    git worktree remove --force "$elsewhere"
}

judge_program() { # judge_program BUILD OUT
    step "hardening, and no path of this machine"
    local stage=$1/judged file
    rm -rf "$stage"
    dpkg-deb -x "$2"/fenlo_*.deb "$stage"
    hardening-check --nocfprotection "$stage"/usr/bin/* "$stage"/usr/lib/fenlo/fenlo-*
    # The module's few calls of memcpy are of sizes that only the run knows, so that nothing of it is fortified.
    hardening-check --nocfprotection --nopie --nofortify "$stage/usr/lib/fenlo/libfenlo_screens.so"
    for file in "$stage"/usr/bin/* "$stage"/usr/lib/fenlo/*; do
        # shellcheck disable=SC2016 # the loader knows $ORIGIN, the shell does not
        if readelf --dynamic "$file" | grep -E 'RPATH|RUNPATH' | grep -vE '\[\$ORIGIN(/../lib/fenlo)?\]'; then return 1; fi
        if readelf --sections "$file" | grep -E '\.(debug_info|symtab)'; then echo "$file has symbols" >&2; return 1; fi
    done
    if grep --recursive --fixed-strings --text --files-with-matches -e "$PWD" -e "$build_place/" "$stage"; then
        echo "these name $PWD or $build_place" >&2
        return 1
    fi
}

judge_package() { # judge_package OUT
    step "lintian"
    lintian --allow-root --fail-on error,warning --display-info "$1"/fenlo_*.deb
    dpkg-deb --field "$1"/fenlo_*.deb
}
