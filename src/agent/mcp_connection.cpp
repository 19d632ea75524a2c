#include "agent/mcp_connection.hpp"

#include <algorithm>
#include <utility>

#include "agent/http_reply.hpp"
#include "agent/mcp_log.hpp"
#include "base/log.hpp"

namespace vantorel {
namespace {

constexpr const char* continueReply = "HTTP/1.1 100 Continue\r\n\r\n";

}  // namespace

MCPConnection::MCPConnection(std::unique_ptr<LoopbackStream> stream, const Clock& clock,
                             Limits limits, Callbacks callbacks)
    : stream_(std::move(stream)),
      clock_(&clock),
      limits_(limits),
      callbacks_(std::move(callbacks)),
      peer_(stream_->peer()) {}

MCPConnection::~MCPConnection() { withdraw(); }

void MCPConnection::start() {
  wait(Stage::receiving, limits_.idle);
  receive();
}

void MCPConnection::refuse(int status, std::string_view reason, std::string_view message) {
  logInfo(mcpLog, "MCP request refused: {}", status);
  send(refusalReply(status, reason, message), {}, false);
  receive();
}

void MCPConnection::tick() {
  if (stage_ == Stage::closed) return;
  if (deadline_ && clock_->monotonic() >= *deadline_) return close();
  if (stage_ == Stage::dispatching && hasPeerEnded_ && stream_->isPeerGone()) close();
}

void MCPConnection::withdraw() {
  if (!call_) return;
  // Asked to stop, a call may be answered at once.
  std::stop_source call = *call_;
  call.request_stop();
}

void MCPConnection::close() {
  if (stage_ == Stage::closed) return;
  stage_ = Stage::closed;
  deadline_.reset();
  lifetime_.renew();
  stream_.reset();
  withdraw();
  call_.reset();
  callbacks_.onClose();
}

void MCPConnection::wait(Stage stage, std::chrono::nanoseconds most) {
  stage_ = stage;
  deadline_ = clock_->monotonic() + most;
}

bool MCPConnection::mayReceive() const {
  if (isReceiving_ || hasPeerEnded_ || stage_ == Stage::closed) return false;
  return stage_ == Stage::receiving || stage_ == Stage::leaving ||
         buffer_.size() < limits_.pipelined;
}

void MCPConnection::receive() {
  if (!mayReceive()) return;
  isReceiving_ = true;
  stream_->read(lifetime_.guard([this](Result<std::string_view> bytes) { received(bytes); }));
}

void MCPConnection::received(Result<std::string_view> bytes) {
  isReceiving_ = false;
  if (!bytes) return close();
  hasPeerEnded_ = bytes->empty();
  if (!keepAlive_ && stage_ == Stage::replying) {
    discarded_ += bytes->size();  // behind the last request that is answered
  } else if (stage_ == Stage::leaving) {
    discarded_ += bytes->size();
    if (hasPeerEnded_) return close();
  } else {
    const bool isFirst = buffer_.empty() && !head_ && stage_ == Stage::receiving;
    if (isFirst && !hasPeerEnded_) wait(Stage::receiving, limits_.request);
    buffer_ += *bytes;
    mayHoldHead_ =
        mayHoldHead_ || bytes->contains('\n') || buffer_.size() >= RequestHead::maximumBytes;
  }
  if (discarded_ > limits_.farewellBytes) return close();
  if (stage_ == Stage::dispatching && hasPeerEnded_ && stream_->isPeerGone()) return close();
  if (stage_ == Stage::receiving) proceed();
  receive();
}

void MCPConnection::proceed() {
  if (isWriting_) return;  // that the body may come
  if (head_ || takeHead()) takeBody();
  // What is left will never be whole.
  if (stage_ == Stage::receiving && hasPeerEnded_ && !isWriting_) close();
}

bool MCPConnection::takeHead() {
  if (!std::exchange(mayHoldHead_, false)) return false;
  auto parsed = parseRequestHead(buffer_).outcome;
  if (std::holds_alternative<ParseOutcome::NeedMoreData>(parsed)) return false;
  if (const auto* wrong = std::get_if<ParseOutcome::Malformed>(&parsed)) {
    refuse(wrong->status, wrong->reason, wrong->message);
    return false;
  }
  auto& [head, bodyStart] = std::get<ParseOutcome::Head>(parsed);
  if (const auto rejection = callbacks_.authorize(head)) {
    logInfo(mcpLog, "MCP request refused: {}", statusOf(*rejection));
    send(replyTo(*rejection), {}, false);
    return false;
  }
  head_ = std::move(head);
  buffer_.erase(0, bodyStart);
  continueSent_ = false;
  return true;
}

void MCPConnection::takeBody() {
  const std::size_t size = head_->contentLength.value_or(0);
  if (buffer_.size() < size) {
    if (!head_->expectsContinue || std::exchange(continueSent_, true) || hasPeerEnded_) return;
    isWriting_ = true;
    stream_->write(continueReply, {}, lifetime_.guard([this](const Result<void>& result) {
      isWriting_ = false;
      if (!result) return close();
      proceed();
    }));
    return;
  }
  MCPExchange exchange{.body = buffer_.substr(0, size)};
  if (const std::string* session = head_->header("mcp-session-id")) exchange.sessionID = *session;
  buffer_.erase(0, size);
  if (buffer_.empty() && buffer_.capacity() > limits_.pipelined) buffer_ = {};
  mayHoldHead_ = !buffer_.empty();
  keepAlive_ = head_->keepAlive;
  head_.reset();

  stage_ = Stage::dispatching;
  deadline_.reset();
  call_ = exchange.withdrawal;
  callbacks_.handle(std::move(exchange), lifetime_.guard([this](MCPReply reply) {
    if (stage_ == Stage::dispatching) replied(std::move(reply));
  }));
}

void MCPConnection::replied(MCPReply reply) {
  call_.reset();
  auto* const body = std::get_if<MCPReply::Body>(&reply.answer);
  if (body == nullptr) {
    logInfo(mcpLog, "MCP request named a session this server does not have");
    return send(refusalReply(404, "Not Found",
                             "This MCP session has ended, or this server never started it. Send "
                             "initialize to start a new one."),
                {}, false);
  }
  const bool keepAlive = keepAlive_ && !(hasPeerEnded_ && buffer_.empty());
  if (!body->bytes) return send(acceptedReply(keepAlive, body->sessionID), {}, keepAlive);
  const std::size_t size = body->bytes->size();
  send(jsonReplyHead(size, keepAlive, body->sessionID), std::move(*body->bytes), keepAlive);
}

void MCPConnection::send(std::string head, std::string body, bool keepAlive) {
  stage_ = Stage::replying;
  keepAlive_ = keepAlive;
  replyHead_ = std::move(head);
  replyBody_ = std::move(body);
  written_ = 0;
  if (!keepAlive) buffer_ = {};
  sendPiece();
}

void MCPConnection::sendPiece() {
  deadline_ = clock_->monotonic() + limits_.write;
  const std::string_view head = written_ == 0 ? std::string_view(replyHead_) : std::string_view{};
  const std::string_view piece = std::string_view(replyBody_).substr(written_, limits_.piece);
  written_ += piece.size();
  isWriting_ = true;
  stream_->write(head, piece,
                 lifetime_.guard([this](const Result<void>& result) { sent(result); }));
}

void MCPConnection::sent(const Result<void>& result) {
  isWriting_ = false;
  if (!result) return close();
  if (written_ < replyBody_.size()) return sendPiece();
  replyHead_ = {};
  replyBody_ = {};
  if (!keepAlive_) return leave();
  wait(Stage::receiving, buffer_.empty() ? limits_.idle : limits_.request);
  proceed();
  receive();
}

void MCPConnection::leave() {
  if (hasPeerEnded_) return close();
  stream_->endSending();
  wait(Stage::leaving, limits_.farewell);
  receive();
}

}  // namespace vantorel
