// SPDX-License-Identifier: Apache-2.0
#include "tests/connection/TestNews.h"

#include <utility>

namespace velto {

/// Guarded by the news' lock, but for the listener.
class TestNews::Stream : public ReplyStream {
 public:
  explicit Stream(TestNews& news) : news_(news) {
    const MutexLock lock(news_.mutex_);
    news_.streams_.insert(this);
  }
  ~Stream() override {
    const MutexLock lock(news_.mutex_);
    news_.streams_.erase(this);
  }

  Part append(std::string& text) override {
    const MutexLock lock(news_.mutex_);
    if (words_.empty()) {
      ++news_.vainQuestions_;
      isAsleep_ = true;
      return Part::kNone;
    }
    if (isWithinWord_) {
      text += words_.front() + "\"}";
      words_.pop_front();
    } else {
      text += R"({"word":")";
    }
    isWithinWord_ = !isWithinWord_;
    return isWithinWord_ ? Part::kMore : Part::kWhole;
  }
  void setListener(Listener& listener) override { listener_ = &listener; }

  void add(const std::string& word) {
    words_.push_back(word);
    if (std::exchange(isAsleep_, false)) listener_->rouse();
  }

 private:
  TestNews& news_;
  Listener* listener_ = nullptr;
  std::deque<std::string> words_;
  bool isAsleep_ = false;
  bool isWithinWord_ = false;
};

std::unique_ptr<ReplyStream> TestNews::stream() {
  return std::make_unique<Stream>(*this);
}

void TestNews::tell(const std::string& word) {
  const MutexLock lock(mutex_);
  for (Stream* stream : streams_) {
    stream->add(word);
  }
}

std::size_t TestNews::count() const {
  const MutexLock lock(mutex_);
  return streams_.size();
}

int TestNews::vainQuestions() const {
  const MutexLock lock(mutex_);
  return vainQuestions_;
}

}  // namespace velto
