// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Node allocation: per-document arenas for parsed trees, the ordinary heap for everything
// else, one header pointer in front of each node telling the two apart.

#include "xml/node_arena.h"

#include <new>

#include "corvane/xml.h"

namespace corvane {
namespace XML {

namespace {

constexpr std::size_t kHeader = sizeof(NodeArena*);
// A heap node keeps malloc's alignment: its header sits in a 16-byte prefix.
constexpr std::size_t kHeapPrefix = 16;
// Blocks grow from small (most documents are a few lines) to large: freeing many mid-sized
// blocks makes glibc consolidate and trim its heap over and over.
constexpr std::size_t kFirstBlock = 8 * 1024;
constexpr std::size_t kLargestBlock = 1024 * 1024;
// References are paid in advance in batches so that allocating costs no atomic operation.
constexpr long kBatch = 4096;
#ifdef CORVANE_ASAN
// Reusing blocks would hand a dangling pointer fresh, unpoisoned memory.
constexpr bool kReuse = false;
#else
constexpr bool kReuse = true;
#endif

NodeArena*& headerOf(void* node) {
  return *reinterpret_cast<NodeArena**>(static_cast<char*>(node) - kHeader);
}

void* heapNode(std::size_t size) {
  char* base = static_cast<char*>(::operator new(kHeapPrefix + size));
  void* node = base + kHeapPrefix;
  headerOf(node) = nullptr;
  return node;
}

}  // namespace

struct NodeArena::Block {
  Block* next;
  std::size_t size;  // bytes of data after this header
  char* data() { return reinterpret_cast<char*>(this + 1); }
};

NodeArena::NodeArena()
    : mRefs(1), mCredit(0), mFirst(nullptr), mCurrent(nullptr), mNext(nullptr), mEnd(nullptr) {}

NodeArena::~NodeArena() {
  for (Block* block = mFirst; block != nullptr;) {
    Block* next = block->next;
    CORVANE_UNPOISON(block->data(), block->size);
    ::operator delete(block);
    block = next;
  }
}

NodeArena* NodeArena::create() { return new NodeArena(); }

bool NodeArena::nextBlock(std::size_t need) {
  Block* next = mCurrent != nullptr ? mCurrent->next : mFirst;
  if (next == nullptr || next->size < need) {
    std::size_t size = mCurrent != nullptr ? 2 * (mCurrent->size + sizeof(Block)) : kFirstBlock;
    if (size > kLargestBlock) size = kLargestBlock;
    size -= sizeof(Block);
    if (size < need) size = need;
    Block* fresh = static_cast<Block*>(::operator new(sizeof(Block) + size));
    fresh->size = size;
    fresh->next = next;
    CORVANE_POISON(fresh->data(), size);
    if (mCurrent != nullptr) {
      mCurrent->next = fresh;
    } else {
      mFirst = fresh;
    }
    next = fresh;
  }
  mCurrent = next;
  mNext = next->data();
  mEnd = mNext + next->size;
  return true;
}

void* NodeArena::refill(std::size_t size) {
  std::size_t slot = slotSize(size);
  if (static_cast<std::size_t>(mEnd - mNext) < slot) nextBlock(slot);
  if (mCredit == 0) {
    mRefs.fetch_add(kBatch, std::memory_order_relaxed);
    mCredit = kBatch;
  }
  return allocate(size);
}

void NodeArena::release(void* node, std::size_t size) {
  forget(node, size);
  unref(1);
}

void NodeArena::drop() {
  long held = mCredit + 1;
  mCredit = 0;
  unref(held);
}

bool NodeArena::reset() {
  if (!kReuse || mRefs.load(std::memory_order_acquire) != mCredit + 1) return false;
  mCurrent = nullptr;
  mNext = nullptr;
  mEnd = nullptr;
  return true;
}

void NodeArena::unref(long count) {
  if (mRefs.fetch_sub(count, std::memory_order_acq_rel) == count) delete this;
}

void* Node::operator new(std::size_t size) { return heapNode(size); }

void* Node::operator new(std::size_t size, NodeArena* arena) {
  return arena != nullptr ? arena->allocate(size) : heapNode(size);
}

void Node::operator delete(void* node, std::size_t size) noexcept {
  if (node == nullptr) return;
  NodeArena* arena = headerOf(node);
  if (arena == nullptr) {
    ::operator delete(static_cast<char*>(node) - kHeapPrefix);
  } else {
    arena->release(node, size);
  }
}

void Node::operator delete(void* node, NodeArena* arena) noexcept {
  if (arena == nullptr) {
    ::operator delete(static_cast<char*>(node) - kHeapPrefix);
  } else {
    arena->release(node, 0);
  }
}

}  // namespace XML
}  // namespace corvane
