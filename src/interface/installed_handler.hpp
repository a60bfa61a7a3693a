// A handler installed in a process-wide slot (such as the C runtime's invalid
// parameter handler) for the lifetime of one object: the constructor installs
// it and keeps the handler it replaced; the destructor puts that one back,
// unless the slot has been given another handler since, which then stays.
#pragma once

namespace sti::interface {

template <class Handler>
class InstalledHandler {
 public:
  using Get = Handler (*)();
  using Set = Handler (*)(Handler);

  InstalledHandler(Handler mine, Get get, Set set)
      : mine_(mine), get_(get), set_(set), replaced_(set(mine)) {}
  ~InstalledHandler() {
    if (get_() == mine_) set_(replaced_);
  }
  InstalledHandler(const InstalledHandler&) = delete;
  InstalledHandler& operator=(const InstalledHandler&) = delete;

 private:
  Handler mine_;
  Get get_;
  Set set_;
  Handler replaced_;
};

}  // namespace sti::interface
