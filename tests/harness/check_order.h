// SPDX-License-Identifier: MIT
// Tests of argument checks: each bad argument alone and together with every one that is checked
// after it gives its own status, and no output changes.
//
//   CheckOrder(HARNESS_NAMED(zepiAdd128_JPEG_16s8u_C1R), src, 16, dst, 8, zepiSize{8, 1})
//       .Null<0>().Step<1>().Null<2>().Step<3>().Size<4>()
//       .Output(dst, 8)
//       .Run();
#ifndef ZEPJP_TESTS_HARNESS_CHECK_ORDER_H_
#define ZEPJP_TESTS_HARNESS_CHECK_ORDER_H_

#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <cstring>
#include <deque>
#include <functional>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "harness/difference.h"
#include "zepjp.h"

namespace harness {

// A function with its name. (A lambda, because calling conventions do not pass through templates.)
template <class Call>
struct Named {
  const char* name;
  Call call;
};
template <class Call>
Named(const char*, Call) -> Named<Call>;

#define HARNESS_NAMED(function)                                 \
  ::harness::Named {                                            \
#    function, [](auto... args) { return ::function(args...); } \
  }

template <class Call, class... Args>
class CheckOrder {
 public:
  using Arguments = std::tuple<Args...>;

  CheckOrder(Named<Call> function, Args... good) : function_(function), good_(good...) {}

  template <size_t kIndex>
  CheckOrder& Null() {
    return Add({Fault<kIndex>("null", nullptr, zepStatusNullPtr)});
  }

  // Argument `kIndex` points to `kCount` plane pointers: tests null for the argument itself, then
  // for each plane.
  template <size_t kIndex, size_t kCount>
  CheckOrder& Planes() {
    return Null<kIndex>().template EachPlane<kIndex, kCount>();
  }
  // Tests null for each plane only; the pointer to them is tested separately.
  template <size_t kIndex, size_t kCount>
  CheckOrder& EachPlane() {
    using Array = std::tuple_element_t<kIndex, Arguments>;
    using Plane = std::remove_const_t<std::remove_pointer_t<Array>>;
    for (size_t plane = 0; plane < kCount; ++plane) {
      Change change = [plane](Arguments& arguments, std::deque<std::vector<void*>>& arrays) {
        Array array = std::get<kIndex>(arguments);
        if (array == nullptr) return;  // the array itself is already bad
        std::vector<void*> copy(kCount);
        std::memcpy(copy.data(), array, kCount * sizeof(void*));
        copy[plane] = nullptr;
        arrays.push_back(std::move(copy));
        std::get<kIndex>(arguments) = reinterpret_cast<const Plane*>(arrays.back().data());
      };
      Add({{"plane " + std::to_string(plane) + " of " + Label(kIndex), zepStatusNullPtr, change}});
    }
    return *this;
  }

  template <size_t kIndex>
  CheckOrder& Step() {
    return Bad<kIndex>(zepStatusBadStep, {0, -1, INT_MIN});
  }

  template <size_t kIndex>
  CheckOrder& Size(int min_width = 1, int min_height = 1) {
    const zepiSize good = std::get<kIndex>(good_);
    return Bad<kIndex>(zepStatusBadSize,
                       {zepiSize{min_width - 1, good.height}, zepiSize{good.width, min_height - 1},
                        zepiSize{-5, good.height}, zepiSize{good.width, INT_MIN}, zepiSize{0, 0}});
  }

  // Tests that argument `kIndex` with each of these values gives `status`.
  template <size_t kIndex>
  CheckOrder& Bad(zepStatus status,
                  std::initializer_list<std::tuple_element_t<kIndex, Arguments>> values) {
    std::vector<OneFault> alternatives;
    for (const auto& value : values) alternatives.push_back(Fault<kIndex>("bad", value, status));
    return Add(std::move(alternatives));
  }

  // Memory that must not change when a check fails.
  CheckOrder& Output(const void* data, size_t size) {
    outputs_.push_back({static_cast<const uint8_t*>(data), size});
    return *this;
  }

  void Run() {
    for (size_t i = 0; i < faults_.size(); ++i) {
      for (const OneFault& fault : faults_[i]) {
        Expect(fault, {});
        std::vector<const OneFault*> all_later;
        for (size_t j = i + 1; j < faults_.size(); ++j) {
          for (const OneFault& later : faults_[j]) Expect(fault, {&later});
          all_later.push_back(&faults_[j].front());
        }
        Expect(fault, all_later);
      }
    }
    EXPECT_GE(std::apply(function_.call, good_), 0) << function_.name << " with good arguments";
  }

 private:
  using Change = std::function<void(Arguments&, std::deque<std::vector<void*>>&)>;
  struct OneFault {
    std::string what;
    zepStatus status;
    Change change;
  };
  struct Span {
    const uint8_t* data;
    size_t size;
  };

  static std::string Label(size_t index) { return "argument " + std::to_string(index); }

  template <size_t kIndex, class Value>
  OneFault Fault(const char* what, Value value, zepStatus status) {
    return {std::string(what) + " " + Label(kIndex), status,
            [value](Arguments& arguments, std::deque<std::vector<void*>>&) {
              auto& argument = std::get<kIndex>(arguments);
              if constexpr (std::is_pointer_v<std::remove_reference_t<decltype(argument)>>) {
                if (argument == nullptr) return;  // already bad
              }
              argument = value;
            }};
  }

  CheckOrder& Add(std::vector<OneFault> alternatives) {
    faults_.push_back(std::move(alternatives));
    return *this;
  }

  std::vector<std::vector<uint8_t>> Snapshot() const {
    std::vector<std::vector<uint8_t>> copies;
    for (const Span& span : outputs_) copies.emplace_back(span.data, span.data + span.size);
    return copies;
  }

  void Expect(const OneFault& fault, const std::vector<const OneFault*>& others) {
    Arguments arguments = good_;
    std::deque<std::vector<void*>> arrays;
    std::string what = fault.what;
    fault.change(arguments, arrays);
    for (const OneFault* other : others) {
      other->change(arguments, arrays);
      what += ", " + other->what;
    }
    const auto before = Snapshot();
    EXPECT_EQ(std::apply(function_.call, arguments), fault.status)
        << function_.name << ": " << what;
    EXPECT_EQ(FirstDifference(Snapshot(), before), "") << function_.name << " wrote with " << what;
  }

  Named<Call> function_;
  Arguments good_;
  std::vector<std::vector<OneFault>> faults_;
  std::vector<Span> outputs_;
};

}  // namespace harness

#endif  // ZEPJP_TESTS_HARNESS_CHECK_ORDER_H_
