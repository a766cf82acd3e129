// Memory for an asynchronous operation of Boost.Asio that is started again and again, so that starting it never
// allocates and so never fails.
#pragma once

#include <array>
#include <cstddef>
#include <new>
#include <utility>

namespace BX::link {

// For one operation at a time; whatever else asks gets ordinary memory.
class OperationMemory {
 public:
  void* take(std::size_t size) {
    if (taken_ || size > storage_.size()) return ::operator new(size);
    taken_ = true;
    return storage_.data();
  }
  void giveBack(void* memory) {
    if (memory == storage_.data()) {
      taken_ = false;
    } else {
      ::operator delete(memory);
    }
  }

 private:
  alignas(std::max_align_t) std::array<std::byte, 512> storage_{};
  bool taken_ = false;
};

template <typename T>
struct OperationAllocator {
  using value_type = T;
  explicit OperationAllocator(OperationMemory& from) : memory(&from) {}
  template <typename U>
  OperationAllocator(const OperationAllocator<U>& other) : memory(other.memory) {}
  T* allocate(std::size_t count) { return static_cast<T*>(memory->take(sizeof(T) * count)); }
  void deallocate(T* object, std::size_t) { memory->giveBack(object); }
  template <typename U>
  bool operator==(const OperationAllocator<U>& other) const {
    return memory == other.memory;
  }

  OperationMemory* memory;
};

// `handler`, whose operation is kept in `memory`.
template <typename Handler>
class InMemory {
 public:
  using allocator_type = OperationAllocator<void>;
  InMemory(OperationMemory& memory, Handler handler) : memory_(&memory), handler_(std::move(handler)) {}
  allocator_type get_allocator() const noexcept { return allocator_type(*memory_); }
  template <typename... Arguments>
  void operator()(Arguments&&... arguments) {
    handler_(std::forward<Arguments>(arguments)...);
  }

 private:
  OperationMemory* memory_;
  Handler handler_;
};

}  // namespace BX::link
