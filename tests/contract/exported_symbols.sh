# usage: sh exported_symbols.sh NM LIBRARY NAMESPACE LIST [--update]
#
# Compares what a shared library exports of its own namespace with the list of what it is meant to
# export; with --update it writes the list. What templates and inline functions of other libraries
# leave behind is not looked at: it depends on the compiler's optimisation.
set -eu
nm=$1 library=$2 namespace=$3 list=$4

exported() {
    # Mangled, a name of the namespace begins with it: a function or object, or a virtual table or
    # type information of one of its classes.
    "$nm" --dynamic --defined-only "$library" | awk '{ print $3 }' |
        grep -E "^_Z(T[VTIS])?N?[KVRO]*${#namespace}$namespace" |
        c++filt |
        sed 's/std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >/std::string/g' |
        LC_ALL=C sort -u
}

if [ "${5:-}" = --update ]; then
    exported >"$list"
    exit
fi
exported | diff -u --label "meant to be exported ($list)" --label "exported ($library)" "$list" - || {
    echo "If the change is meant: cmake --build build/release --target update_symbols"
    exit 1
}
