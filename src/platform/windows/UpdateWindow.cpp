#include "platform/windows/UpdateWindow.h"

namespace tarvolo::platform {

std::string_view rawValue(UpdatePhase phase) {
  switch (phase) {
    case UpdatePhase::checking: return "checking";
    case UpdatePhase::upToDate: return "upToDate";
    case UpdatePhase::available: return "available";
    case UpdatePhase::downloading: return "downloading";
    case UpdatePhase::preparing: return "preparing";
    case UpdatePhase::readyToInstall: return "readyToInstall";
    case UpdatePhase::installing: return "installing";
    case UpdatePhase::failed: return "failed";
    case UpdatePhase::complete: return "complete";
  }
  return "checking";
}

std::string_view rawValue(UpdateAction action) {
  switch (action) {
    case UpdateAction::install: return "install";
    case UpdateAction::later: return "later";
    case UpdateAction::skip: return "skip";
    case UpdateAction::cancel: return "cancel";
    case UpdateAction::installAndRelaunch: return "installAndRelaunch";
    case UpdateAction::close: return "close";
  }
  return "close";
}

}  // namespace tarvolo::platform
