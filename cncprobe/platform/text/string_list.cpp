// utStringcoSList: appending, element access and the iterator's cycle through the list.
#include "cncprobe/platform/text/string_list.h"

#include <utility>

namespace {
// What an iterator yields where there is no element: a reader that forgets to test the step's
// result sees an invalid line instead of reading past the list.
const utString kNoElement;
}  // namespace

int utStringcoSListB::insert_last(const utString& text) {
  elements_.push_back(text);
  return 1;
}

int utStringcoSListB::insert_last(utString&& text) {
  elements_.push_back(std::move(text));
  return 1;
}

const utString& utStringcoSListB::at(std::size_t index) const noexcept {
  return index < elements_.size() ? elements_[index] : kNoElement;
}

bool utStringcoSListBcoIterator::operator++() noexcept {
  const std::size_t count = list_ ? list_->size() : 0;
  if (index_ == kNone) {
    index_ = count ? 0 : kNone;
  } else if (++index_ >= count) {
    index_ = kNone;
  }
  return index_ != kNone;
}

const utString& utStringcoSListBcoIterator::operator()() const noexcept {
  return list_ ? list_->at(index_) : kNoElement;
}
