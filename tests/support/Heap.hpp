#pragma once
// The heap, brought to rest between the rounds of a benchmark.

namespace tfsp::test {

// Does now the work that the heap put off when the last round's objects were
// freed, on every thread of the pool, so that no timed section pays for it.
//
// glibc keeps small freed blocks on per-arena lists and merges them only when
// a thread of that arena next asks for a large block. After a round's
// entries die, that next request merges some hundred thousand blocks: in a
// timed section, a bare directory walk (whose opendir asks for a large
// buffer) or a cache load paid for the teardown of the round before.
void SettleHeap();

}  // namespace tfsp::test
