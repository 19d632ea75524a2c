#include "platform/linux/system_error.hpp"

#include <cctype>
#include <cerrno>
#include <system_error>

namespace vantorel {
namespace {

thread_local bool areLostRepliesSilence = false;

}  // namespace

bool mayBeLostReply(int error) {
  switch (error) {
    case EIO:  // what FUSE programs say of a broken connection
    case EREMOTEIO:
    case EINTR:
    case ETIMEDOUT:
    case ECONNABORTED:
    case ECONNRESET:
    case ENOTCONN:
    case ESHUTDOWN:
    case EHOSTDOWN:
    case EHOSTUNREACH:
    case ENETDOWN:
    case ENETRESET:
    case ENETUNREACH:
    case ESTALE: return true;
    default: return false;
  }
}

LostRepliesAreSilence::LostRepliesAreSilence() { areLostRepliesSilence = true; }
LostRepliesAreSilence::~LostRepliesAreSilence() { areLostRepliesSilence = false; }

std::unexpected<Failure> systemFailure(int error) {
  if (areLostRepliesSilence && mayBeLostReply(error)) error = ETIMEDOUT;
  switch (error) {
    case ENOENT: return failed(FailureKind::notFound, "there is no such file or folder");
    case ENOTDIR: return failed(FailureKind::notFound, "a part of the path is not a folder");
    case EEXIST: return failed(FailureKind::exists, "there is something of that name already");
    case EACCES:
    case EPERM: return failed(FailureKind::denied, "the system does not permit it");
    case ENOSPC: return failed(FailureKind::noSpace, "the disk is full");
    case EDQUOT: return failed(FailureKind::noSpace, "the disk quota is used up");
    case EROFS: return failed(FailureKind::readOnly, "the disk is read-only");
    case EXDEV: return failed(FailureKind::unsupported, "it lies on another file system");
    case EOPNOTSUPP: return failed(FailureKind::unsupported, "the file system cannot do that");
    // Of a connection: no disk of this machine says so.
    case ESTALE:
    case ECONNABORTED:
    case ECONNRESET:
    case EHOSTDOWN:
    case EHOSTUNREACH:
    case ENETDOWN:
    case ENETRESET:
    case ENETUNREACH:
    case ENOTCONN:
    case ESHUTDOWN:
    case ETIMEDOUT: return failed(FailureKind::unreachable, "the folder does not answer");
    case ENOTEMPTY: return failed(FailureKind::other, "the folder is not empty");
    case EISDIR: return failed(FailureKind::other, "it is a folder");
    case ELOOP: return failed(FailureKind::other, "it is a symbolic link");
    case ENAMETOOLONG: return failed(FailureKind::other, "the name is too long");
    case EFBIG: return failed(FailureKind::other, "the file system cannot hold a file this large");
    case EIO: return failed(FailureKind::other, "the disk reports an error");
    default: break;
  }
  std::string reason = std::generic_category().message(error);
  if (!reason.empty()) reason[0] = static_cast<char>(std::tolower(reason[0]));
  return failed(FailureKind::other, std::move(reason));
}

std::unexpected<Failure> lastSystemFailure() { return systemFailure(errno); }

}  // namespace vantorel
