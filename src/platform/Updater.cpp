#include "platform/Updater.h"

namespace tarvolo::platform {

std::string_view rawValue(UpdateCheckKind kind) {
  switch (kind) {
    case UpdateCheckKind::user: return "user";
    case UpdateCheckKind::background: return "background";
  }
  return "user";
}

std::string_view rawValue(UpdateChoice choice) {
  switch (choice) {
    case UpdateChoice::install: return "install";
    case UpdateChoice::later: return "later";
    case UpdateChoice::skip: return "skip";
  }
  return "later";
}

std::string_view rawValue(UpdateFailure failure) {
  switch (failure) {
    case UpdateFailure::feedUnreachable: return "feedUnreachable";
    case UpdateFailure::download: return "download";
    case UpdateFailure::downloadIncomplete: return "downloadIncomplete";
    case UpdateFailure::signature: return "signature";
    case UpdateFailure::installation: return "installation";
    case UpdateFailure::other: return "other";
  }
  return "other";
}

}  // namespace tarvolo::platform
