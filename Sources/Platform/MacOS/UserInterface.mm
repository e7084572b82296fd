#include "Platform/MacOS/Adapters.h"
#include "Platform/MacOS/GuardedCall.h"
#include "Platform/MacOS/NativeText.h"
#include "Platform/MacOS/PropertyListBridge.h"
#include "Platform/MacOS/ScreenSpace.h"

#include <map>
#include <memory>
#include <utility>

#import <AppKit/AppKit.h>

/// What happens when a menu's entry is chosen. An entry only borrows its target, so it holds this as the object that it
/// represents, too.
@interface VLMMenuAction : NSObject
- (instancetype)initWithAction:(std::function<void()>)action;
- (void)choose:(id)sender;
@end

/// Fills the menu whose delegate it is each time it is about to be shown: whoever made the tree may change it at any
/// time. A menu only borrows its delegate.
@interface VLMMenuFiller : NSObject <NSMenuDelegate>
- (instancetype)initWithTree:(std::shared_ptr<const vlm::Menu>)tree;
@end

@interface VLMNotificationDelegate : NSObject <NSUserNotificationCenterDelegate>
- (instancetype)initWithActivation:(vlm::UserInterface::NotificationActivation)activation;
@end

namespace vlm::native {

namespace {

/// Empty for what is not UTF-8; the platform throws at a title that is nil.
NSString* nativeText(const std::string& text) {
  NSString* const known = native(text);
  return known != nil ? known : @"";
}

/// Empty for nil.
std::string textOf(NSString* text) { return textFromCF((__bridge CFStringRef)text).value_or(std::string()); }

void fillMenu(NSMenu* menu, const Menu& tree);

NSMenu* nativeMenu(const Menu& tree) {
  NSMenu* const menu = [[NSMenu alloc] initWithTitle:nativeText(tree.title)];
  // The tree says what can be chosen, not the platform's search for somebody who answers.
  menu.autoenablesItems = NO;
  return menu;
}

NSMenuItem* nativeItem(const Menu::Item& item) {
  NSMenuItem* const entry = [[NSMenuItem alloc] initWithTitle:nativeText(item.title) action:nil keyEquivalent:@""];
  entry.enabled = item.action != nullptr || item.submenu != nullptr;
  if (item.action != nullptr) {
    VLMMenuAction* const action = [[VLMMenuAction alloc] initWithAction:item.action];
    entry.representedObject = action;
    entry.target = action;
    entry.action = @selector(choose:);
  }
  if (item.submenu != nullptr) {
    entry.submenu = nativeMenu(*item.submenu);
    fillMenu(entry.submenu, *item.submenu);
  }
  return entry;
}

void fillMenu(NSMenu* menu, const Menu& tree) {
  [menu removeAllItems];
  for (const Menu::Item& item : tree.items) [menu addItem:nativeItem(item)];
}

class NativeUserInterface final : public UserInterface {
 public:
  ~NativeUserInterface() override {
    for (const auto& [reference, known] : statusItems_) [NSStatusBar.systemStatusBar removeStatusItem:known.item];
    // The centre only borrows its delegate.
    if (notificationDelegate_ != nil) NSUserNotificationCenter.defaultUserNotificationCenter.delegate = nil;
  }

  StatusItemRef statusItemWithLength(double length) override {
    statusItems_[++lastReference_].item = [NSStatusBar.systemStatusBar statusItemWithLength:length];
    return lastReference_;
  }
  void removeStatusItem(StatusItemRef item) override {
    const auto found = statusItems_.find(item);
    if (found == statusItems_.end()) return;
    [NSStatusBar.systemStatusBar removeStatusItem:found->second.item];
    statusItems_.erase(found);
  }
  void setHighlightMode(StatusItemRef item, bool highlight) override { itemOf(item).highlightMode = highlight; }
  void setMenu(StatusItemRef item, std::shared_ptr<Menu> menu) override {
    const auto found = statusItems_.find(item);
    if (found == statusItems_.end()) return;
    NSMenu* const shown = menu != nullptr ? nativeMenu(*menu) : nil;
    VLMMenuFiller* const filler = menu != nullptr ? [[VLMMenuFiller alloc] initWithTree:menu] : nil;
    shown.delegate = filler;
    found->second.item.menu = shown;
    found->second.menuFiller = filler;
  }
  void setVisible(StatusItemRef item, bool visible) override { itemOf(item).visible = visible; }
  void setImage(StatusItemRef item, const std::string& imageName) override {
    itemOf(item).button.image = [NSImage imageNamed:nativeText(imageName)];
  }

  bool isCurrentAppearanceDark() override {
    NSAppearance* const appearance = NSApp.effectiveAppearance;
    NSAppearanceName const best =
        [appearance bestMatchFromAppearancesWithNames:@[ NSAppearanceNameAqua, NSAppearanceNameDarkAqua ]];
    return [best isEqualToString:NSAppearanceNameDarkAqua];
  }

  void popUpMenu(std::shared_ptr<Menu> menu, Point location) override {
    if (menu == nullptr) return;
    NSMenu* const shown = nativeMenu(*menu);
    fillMenu(shown, *menu);
    const CGPoint corner = flipped(CGPointMake(location.x, location.y));
    // Nobody else holds the window, and its last mention below is before the menu opens.
    NS_VALID_UNTIL_END_OF_SCOPE NSWindow* const window =
        [[NSWindow alloc] initWithContentRect:NSMakeRect(corner.x, corner.y, 1, 1)
                                    styleMask:NSWindowStyleMaskBorderless
                                      backing:NSBackingStoreBuffered
                                        defer:NO];
    window.releasedWhenClosed = NO;
    NSPopUpButtonCell* const cell = [[NSPopUpButtonCell alloc] initTextCell:@"" pullsDown:NO];
    // Or it puts a check mark in front of the entry that it takes for selected.
    cell.altersStateOfSelectedItem = NO;
    cell.menu = shown;
    // As in the menu; the cell has the setting, too.
    cell.autoenablesItems = NO;
    NSView* const view = window.contentView;
    [cell performClickWithFrame:view.bounds inView:view];
  }

  void setUserNotificationCenterDelegate(NotificationActivation activation) override {
    VLMNotificationDelegate* const delegate =
        [[VLMNotificationDelegate alloc] initWithActivation:std::move(activation)];
    // In this order: the centre does not notice when its delegate goes.
    NSUserNotificationCenter.defaultUserNotificationCenter.delegate = delegate;
    notificationDelegate_ = delegate;
  }
  void removeDeliveredNotification(const std::string& identifier) override {
    NSUserNotificationCenter* const center = NSUserNotificationCenter.defaultUserNotificationCenter;
    for (NSUserNotification* notice in center.deliveredNotifications) {
      if (notice.identifier != nil && textOf(notice.identifier) == identifier)
        [center removeDeliveredNotification:notice];
    }
  }

  void CFUserNotificationDisplayNotice(double timeout, std::uint32_t flags, const std::string& header,
                                       const std::string& message) override {
    ::CFUserNotificationDisplayNotice(timeout, flags, nullptr, nullptr, nullptr, makeCFString(header).get(),
                                      makeCFString(message).get(), nullptr);
  }
  std::uint32_t CFUserNotificationDisplayAlert(double timeout, std::uint32_t flags, const std::string& header,
                                               const std::string& message, const std::string& defaultButton,
                                               const std::string& alternateButton,
                                               const std::string& otherButton) override {
    // Left as it is when the alert cannot be shown.
    CFOptionFlags response = kCFUserNotificationCancelResponse;
    ::CFUserNotificationDisplayAlert(timeout, flags, nullptr, nullptr, nullptr, makeCFString(header).get(),
                                     makeCFString(message).get(), makeCFString(defaultButton).get(),
                                     makeCFString(alternateButton).get(), makeCFString(otherButton).get(), &response);
    return static_cast<std::uint32_t>(response);
  }

 private:
  struct StatusItem {
    /// The status bar does not hold it.
    NSStatusItem* item = nil;
    VLMMenuFiller* menuFiller = nil;
  };

  /// Nil for none, which takes every message.
  NSStatusItem* itemOf(StatusItemRef item) const {
    const auto found = statusItems_.find(item);
    return found != statusItems_.end() ? found->second.item : nil;
  }

  StatusItemRef lastReference_ = 0;
  std::map<StatusItemRef, StatusItem> statusItems_;
  VLMNotificationDelegate* notificationDelegate_ = nil;
};

}  // namespace

std::unique_ptr<UserInterface> makeNativeUserInterface() { return std::make_unique<NativeUserInterface>(); }

}  // namespace vlm::native

@implementation VLMMenuAction {
  std::function<void()> _action;
}
- (instancetype)initWithAction:(std::function<void()>)action {
  if ((self = [super init]) != nil) _action = std::move(action);
  return self;
}
- (void)choose:(id)__unused sender {
  // A copy: the menu may be made anew by what is chosen.
  const auto action = _action;
  vlm::native::callGuarded(action);
}
@end

@implementation VLMMenuFiller {
  std::shared_ptr<const vlm::Menu> _tree;
}
- (instancetype)initWithTree:(std::shared_ptr<const vlm::Menu>)tree {
  if ((self = [super init]) != nil) _tree = std::move(tree);
  return self;
}
- (void)menuNeedsUpdate:(NSMenu*)menu {
  vlm::native::callGuarded(vlm::native::fillMenu, menu, *_tree);
}
@end

@implementation VLMNotificationDelegate {
  vlm::UserInterface::NotificationActivation _activation;
}
- (instancetype)initWithActivation:(vlm::UserInterface::NotificationActivation)activation {
  if ((self = [super init]) != nil) _activation = std::move(activation);
  return self;
}
- (void)userNotificationCenter:(NSUserNotificationCenter*)__unused center
       didActivateNotification:(NSUserNotification*)notification {
  const auto activation = _activation;
  vlm::native::callGuarded(activation, vlm::native::textOf(notification.identifier));
}
@end
