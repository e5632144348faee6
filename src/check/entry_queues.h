// The entries that no pass has gathered yet, by their owners and kinds.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "survey/registry.h"

// The entries of one kind and owner that are left, in the order of the work file. What keeps one of them from being
// gathered in a pass, keeps those behind it.
struct EntryQueue {
  uint32_t next;  // place in Registry::byOwner
  uint32_t end;

  bool isEmpty() const { return next == end; }
};

struct EntryQueues {
  Registry& registry;
  std::vector<EntryQueue> all = {};  // those of one owner together; at the end those of none
  std::vector<uint32_t> first = {};  // by owner
};

// Sorts all entries of the registry into queues; an owner's entries stand sorted by their kinds in it then.
void fillQueues(EntryQueues& queues);

// Returns the number behind that of the last owner: of the entries that have none.
uint32_t noOwner(const EntryQueues& queues);

std::span<EntryQueue> queuesOf(EntryQueues& queues, uint32_t owner);
bool isAnyLeft(std::span<const EntryQueue> queues);

// Returns the first entry of a queue that is not empty.
uint32_t headOf(const EntryQueues& queues, const EntryQueue& queue);

// Returns the queue that an entry is the first of.
EntryQueue& queueOf(EntryQueues& queues, uint32_t entry);

// Returns the first entry that is left of an owner, NONE for none.
uint32_t firstLeft(EntryQueues& queues, uint32_t owner);

// Adds the first entries of the queues to others.
void addHeads(const EntryQueues& queues, std::span<const EntryQueue> of, std::vector<uint32_t>& heads);
