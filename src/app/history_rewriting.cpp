#include <fmt/format.h>

#include <utility>

#include "app/history_actions.hpp"

namespace vantorel {
namespace {

using Kind = HistoryNotice::Kind;

}  // namespace

/// Pictures that are changed one after the other.
struct HistoryActions::Rewriting {
  /// Answers with what is to be known of it, mostly nothing, or in a sentence why it could not.
  using Done = std::function<void(Result<std::string, std::string>)>;

  std::function<void(const std::string& id, Done done)> rewrite;
  std::string doing;         // "Converting"
  std::string done;          // "converted"
  std::string onlyRemark{};  // on the only one
  EntryList entries{};
  std::string leftOut{};  // what is said of others that were asked for
  std::size_t changed = 0;
  std::vector<TrashSweep::Failure> failures{};
};

void HistoryActions::convert(const EntryList& entries, ExportFormat format) {
  begin(HistoryAction::convert, entries,
        {.rewrite =
             [this, format](const std::string& id, const Rewriting::Done& done) {
               services_.rewriter.convert(id, format, [done](const RewriteReply& reply) {
                 if (!reply) return done(std::unexpected(sentence(reply.error())));
                 done(reply->remark);
               });
             },
         .doing = "Converting",
         .done = "converted"});
}

void HistoryActions::compress(const EntryList& entries) {
  begin(HistoryAction::compress, entries,
        {.rewrite =
             [this](const std::string& id, const Rewriting::Done& done) {
               services_.rewriter.compress(id, false, [done](const RewriteReply& reply) {
                 if (!reply) return done(std::unexpected(sentence(reply.error())));
                 done(reply->remark);
               });
             },
         .doing = "Compressing",
         .done = "compressed"});
}

void HistoryActions::removeRedaction(const EntryList& entries) {
  switchRedaction(HistoryAction::removeRedaction, entries, false);
}

void HistoryActions::reapplyRedaction(const EntryList& entries) {
  switchRedaction(HistoryAction::reapplyRedaction, entries, true);
}

void HistoryActions::switchRedaction(HistoryAction action, const EntryList& entries, bool covers) {
  begin(action, entries,
        {.rewrite =
             [this, covers](const std::string& id, const Rewriting::Done& done) {
               services_.switchRedaction(id, covers,
                                         [done, covers](const Result<void, std::string>& reply) {
                                           if (!reply) return done(std::unexpected(reply.error()));
                                           done(covers ? "Redacted again" : "Redactions removed");
                                         });
             },
         .doing = covers ? "Redacting" : "Removing redactions",
         .done = covers ? "redacted again" : "uncovered"});
}

void HistoryActions::begin(HistoryAction action, const EntryList& entries, Rewriting rewriting) {
  if (progress_) return;
  HistoryShare share = this->share(action, entries);
  if (share.entries.empty()) return;
  isStopped_ = false;
  progress_ = HistoryProgress{.text = rewriting.doing, .total = share.entries.size()};
  rewriting.entries = std::move(share.entries);
  rewriting.leftOut = std::move(share.leftOut);
  onProgress_();
  rewriteNext(std::make_shared<Rewriting>(std::move(rewriting)));
}

void HistoryActions::rewriteNext(const std::shared_ptr<Rewriting>& rewriting) {
  const std::size_t place = progress_->done;
  if (isStopped_ || place == rewriting->entries.size()) return finish(*rewriting);
  const std::string id = rewriting->entries[place]->id;
  rewriting->rewrite(
      id, lifetime_.guard([this, rewriting, id](const Result<std::string, std::string>& reply) {
        if (reply) {
          ++rewriting->changed;
          rewriting->onlyRemark = *reply;
        } else {
          rewriting->failures.push_back({id, reply.error()});
        }
        ++progress_->done;
        onProgress_();
        // Not from within the reply.
        services_.main->post(lifetime_.guard([this, rewriting] { rewriteNext(rewriting); }));
      }));
}

void HistoryActions::finish(const Rewriting& rewriting) {
  progress_.reset();
  onProgress_();
  if (!rewriting.failures.empty()) {
    return sayFailures(rewriting.failures, rewriting.entries, rewriting.leftOut);
  }
  const bool isAll = rewriting.leftOut.empty();
  const std::size_t count = rewriting.entries.size();
  if (isAll && count == 1) {
    if (!rewriting.onlyRemark.empty()) say_({.text = rewriting.onlyRemark, .kind = Kind::done});
    return;
  }
  say_({.text = fmt::format("{} of {} {} {}.", rewriting.changed, count,
                            count == 1 ? "capture" : "captures", rewriting.done),
        .detail = rewriting.leftOut,
        .kind = isAll ? Kind::done : Kind::failure});
}

}  // namespace vantorel
