// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Per-document allocator of tree nodes. A parse carves its nodes out of large blocks instead
// of asking malloc for each one; the blocks go back when the last node is deleted.

#ifndef CORVANE_XML_NODE_ARENA_H
#define CORVANE_XML_NODE_ARENA_H

#include <atomic>
#include <cstddef>

#if defined(__SANITIZE_ADDRESS__)
#define CORVANE_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define CORVANE_ASAN 1
#endif
#endif
#ifdef CORVANE_ASAN
#include <sanitizer/asan_interface.h>
#define CORVANE_POISON(p, n) ASAN_POISON_MEMORY_REGION((p), (n))
#define CORVANE_UNPOISON(p, n) ASAN_UNPOISON_MEMORY_REGION((p), (n))
#else
#define CORVANE_POISON(p, n) ((void)(p), (void)(n))
#define CORVANE_UNPOISON(p, n) ((void)(p), (void)(n))
#endif

namespace corvane {
namespace XML {

// Every node carries one pointer in front of it: its arena, or null for a node from the
// ordinary heap. Under AddressSanitizer a deleted node's bytes are poisoned at once and blocks
// are never reused, so use-after-free of nodes stays as visible as on the heap.
class NodeArena {
 public:
  // A new arena held by its creator. Caller drops it with `drop`.
  static NodeArena* create();

  // Memory for one node of `size` bytes, after its header. Only the holder may allocate.
  // Inline, as the reader calls it once per node; a new block or a new batch of references
  // takes the slow path.
  void* allocate(std::size_t size) {
    std::size_t slot = slotSize(size);
    if (static_cast<std::size_t>(mEnd - mNext) < slot || mCredit == 0) return refill(size);
    --mCredit;
    char* start = mNext;
    mNext += slot;
    CORVANE_UNPOISON(start, sizeof(NodeArena*) + size);
    *reinterpret_cast<NodeArena**>(start) = this;
    return start + sizeof(NodeArena*);
  }
  // One node of `size` bytes is gone; frees the arena once nothing holds it. Any thread.
  void release(void* node, std::size_t size);
  // The arena of `node`, or null for a node from the heap.
  static NodeArena* of(void const* node) { return static_cast<NodeArena* const*>(node)[-1]; }
  // Marks the `size` bytes of `node`, destroyed in place, as gone without settling its
  // reference; the caller settles a run of them at once with `unref`.
  static void forget(void* node, std::size_t size) {
    CORVANE_POISON(static_cast<char*>(node) - sizeof(NodeArena*), sizeof(NodeArena*) + size);
  }
  // `count` nodes are gone; frees the arena once nothing holds it. Any thread.
  void unref(long count);
  // The holder lets go; the arena lives on until its last node is deleted.
  void drop();
  // Starts over in the blocks already held when no node of this arena is alive any more;
  // false when nodes are alive (or reuse is off), and nothing changes then.
  bool reset();

 private:
  struct Block;

  // A node's bytes with its header in front, rounded up to keep the next header aligned.
  static std::size_t slotSize(std::size_t size) {
    return sizeof(NodeArena*) + ((size + 7) & ~std::size_t{7});
  }

  NodeArena();
  ~NodeArena();
  bool nextBlock(std::size_t need);
  void* refill(std::size_t size);

  // Nodes alive plus references paid in advance (mCredit) plus one for the holder.
  std::atomic<long> mRefs;
  long mCredit;  // advance references not yet used; touched by the holder only
  Block* mFirst;
  Block* mCurrent;
  char* mNext;
  char* mEnd;
};

}  // namespace XML
}  // namespace corvane

#endif  // CORVANE_XML_NODE_ARENA_H
