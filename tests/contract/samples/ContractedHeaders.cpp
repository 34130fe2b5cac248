// Compiled with contraction allowed, as programs may be: a table of theirs rounds as the library's
// do.

#include <kyr/ByteAllocator>
#include <kyr/HashTable>

template class kyr::HashTable<unsigned long, int, kyr::DefaultHashFunctions, kyr::ByteAllocator>;
