#pragma once

#include <functional>
#include <map>
#include <set>
#include <utility>

#include "Platform/Quartz.h"

namespace vlm {

/// A display-configuration transaction. Setters take a pointer to one, which may be null: then they open one of their
/// own. Completes permanently, at its end at the latest, also when a change in it was refused.
class DisplayTransaction {
 public:
  /// Opens it.
  DisplayTransaction();
  ~DisplayTransaction();
  DisplayTransaction(const DisplayTransaction&) = delete;
  DisplayTransaction& operator=(const DisplayTransaction&) = delete;

  /// Null once it has been completed.
  CGDisplayConfigRef config() const { return config_; }
  /// False when the system refused the changes.
  bool complete();
  /// Completes and opens a new one, for changes that build on those made so far.
  bool restart();
  /// Whether the system has refused a completion since the last time that somebody asked.
  bool takeRefusal() { return std::exchange(wasRefused_, false); }

  /// Displays that this transaction will turn off or on once it completes: the system still answers the old state.
  /// `ifRefused` is called when the system refuses it, and with it everything else in the transaction.
  void willTurnOff(CGDirectDisplayID display, std::function<void()> ifRefused = {});
  void willTurnOn(CGDirectDisplayID display);
  /// Whether a transaction that is open in this process turns the display off, or on, when it completes.
  static bool isGoingOff(CGDirectDisplayID display);
  static bool isGoingOn(CGDirectDisplayID display);

 private:
  CGDisplayConfigRef config_ = nullptr;
  bool wasRefused_ = false;
  std::map<CGDirectDisplayID, std::function<void()>> goingOff_;
  std::set<CGDirectDisplayID> goingOn_;
};

/// The transaction given, or one of the setter's own that completes when this goes.
class JoinedTransaction {
 public:
  explicit JoinedTransaction(DisplayTransaction* given);
  ~JoinedTransaction();
  JoinedTransaction(const JoinedTransaction&) = delete;
  JoinedTransaction& operator=(const JoinedTransaction&) = delete;

  DisplayTransaction& operator*() const { return *transaction_; }
  DisplayTransaction* operator->() const { return transaction_; }
  bool isOwn() const { return isOwn_; }
  /// Completes now when it is the setter's own; does nothing to a given one.
  void completeWhenOwn();

 private:
  DisplayTransaction* transaction_;
  bool isOwn_;
};

}  // namespace vlm
