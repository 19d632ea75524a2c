#include "base/sequence_checker.hpp"

#include <utility>

namespace vantorel {
namespace {

thread_local const char ofThread = 0;
thread_local Sequence current = nullptr;

}  // namespace

Sequence sequenceOfThread() { return &ofThread; }

Sequence currentSequence() { return current != nullptr ? current : sequenceOfThread(); }

SequenceScope::SequenceScope(Sequence sequence) : before_(std::exchange(current, sequence)) {}

SequenceScope::~SequenceScope() { current = before_; }

}  // namespace vantorel
