#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "host/file_descriptor.h"
#include "host/transfer/transfer_engine.h"

using CURL = void;
struct curl_slist;

namespace host {

/// One request under way on an easy handle.
class CurlAttempt {
 public:
  /// Sets the handle up; it is borrowed, and must be off the network before the attempt goes.
  CurlAttempt(CURL* handle,
              const TransferTask& task,
              const std::filesystem::path& body,
              double now);
  ~CurlAttempt();
  CurlAttempt(const CurlAttempt&) = delete;
  CurlAttempt& operator=(const CurlAttempt&) = delete;

  CURL* handle() const { return handle_; }
  /// `result` is a CURLcode.
  AttemptEnd end(int result);
  AttemptEnd timeOut() const;

  /// Whether a byte has come or gone since the last question.
  bool takeProgress() { return std::exchange(progress_, false); }

  const std::string& id() const { return id_; }
  double lastByte = 0;
  double timeout = 0;

 private:
  void setUp(const TransferTask& task);
  bool receive(std::string_view bytes);
  bool receiveHeader(std::string_view line);
  bool isLastWord() const;
  bool endsByCount() const;
  bool isWhole(int result) const;
  std::optional<std::uint64_t> announcedSize() const;
  std::optional<TransferAnswer> answer() const;

  static std::size_t onBody(char* bytes, std::size_t, std::size_t count, void* self);
  static std::size_t onHeader(char* bytes, std::size_t, std::size_t count, void* self);
  static int onProgress(void* self, std::int64_t, std::int64_t down, std::int64_t, std::int64_t up);

  CURL* handle_;
  std::string id_;
  std::string url_;
  std::string requestBody_;
  std::unique_ptr<curl_slist, void (*)(curl_slist*)> headers_;
  FileDescriptor body_;
  int fileError_ = 0;
  TransferAnswer answer_;
  bool headEnded_ = false;
  std::int64_t moved_ = 0;
  bool progress_ = false;
};

}  // namespace host
