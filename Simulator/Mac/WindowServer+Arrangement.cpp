#include <algorithm>
#include <limits>

#include "Simulator/Mac/DisplayConfiguration.h"

/// Where displays come to stand. Two steps: every display gets the place it should have (neighbours of a display that
/// grew stay on its side, requests are followed), then they are put down one after the other, each as near to that
/// place as leaves it beside those that stand already. An arrangement that is in order is not touched by the second
/// step.
namespace vlm::sim {
namespace {

double left(const Rect& rect) { return rect.origin.x; }
double top(const Rect& rect) { return rect.origin.y; }
double right(const Rect& rect) { return rect.origin.x + rect.size.width; }
double bottom(const Rect& rect) { return rect.origin.y + rect.size.height; }

bool overlap(const Rect& a, const Rect& b) {
  return left(a) < right(b) && left(b) < right(a) && top(a) < bottom(b) && top(b) < bottom(a);
}
bool shareRows(const Rect& a, const Rect& b) { return top(a) < bottom(b) && top(b) < bottom(a); }
bool shareColumns(const Rect& a, const Rect& b) { return left(a) < right(b) && left(b) < right(a); }

Rect rectOf(const DisplayState& state) { return {.origin = state.origin, .size = state.size()}; }

/// Held so that a display of this size still shares at least one point of edge with the neighbour's range.
double heldToRange(double value, double size, double from, double to) {
  return std::clamp(value, from - size + 1, to - 1);
}

// --- The place a display should have ---

/// Where a display goes that stood beside a neighbour; nothing when they did not touch.
std::optional<Point> placeBeside(const Rect& neighbourWas, const Rect& neighbourIs, const Rect& was, Size size) {
  const double x = heldToRange(left(neighbourIs) + left(was) - left(neighbourWas), size.width, left(neighbourIs),
                               right(neighbourIs));
  const double y =
      heldToRange(top(neighbourIs) + top(was) - top(neighbourWas), size.height, top(neighbourIs), bottom(neighbourIs));
  if (shareRows(neighbourWas, was)) {
    if (left(was) == right(neighbourWas)) return Point{.x = right(neighbourIs), .y = y};
    if (right(was) == left(neighbourWas)) return Point{.x = left(neighbourIs) - size.width, .y = y};
  }
  if (shareColumns(neighbourWas, was)) {
    if (top(was) == bottom(neighbourWas)) return Point{.x = x, .y = bottom(neighbourIs)};
    if (bottom(was) == top(neighbourWas)) return Point{.x = x, .y = top(neighbourIs) - size.height};
  }
  return std::nullopt;
}

/// Carries the neighbourhoods of the old arrangement over to the new sizes, outwards from the display that stays.
class NeighbourKeeper {
 public:
  NeighbourKeeper(const DisplayConfiguration& before, DisplayConfiguration& after) : before_(before), after_(after) {
    for (DisplayState& state : after_.states) {
      if (state.hasOwnPlace() && before_.of(*state.display).hasOwnPlace()) waiting_.push_back(&state);
    }
  }

  void keepFrom(DisplayState* main) {
    spread(main);
    while (!waiting_.empty()) spread(waiting_.front());
  }

 private:
  /// One display, and everything that touched it directly or through others.
  void spread(DisplayState* root) {
    const auto waits = std::find(waiting_.begin(), waiting_.end(), root);
    if (waits == waiting_.end()) return;
    waiting_.erase(waits);
    std::vector<DisplayState*> reached{root};
    for (std::size_t next = 0; next < reached.size(); ++next) moveNeighbours(*reached[next], reached);
  }

  void moveNeighbours(const DisplayState& neighbour, std::vector<DisplayState*>& reached) {
    const Rect neighbourWas = rectOf(before_.of(*neighbour.display)), neighbourIs = rectOf(neighbour);
    std::erase_if(waiting_, [&](DisplayState* state) {
      const auto place = placeBeside(neighbourWas, neighbourIs, rectOf(before_.of(*state->display)), state->size());
      if (!place) return false;
      state->origin = *place;
      reached.push_back(state);
      return true;
    });
  }

  const DisplayConfiguration& before_;
  DisplayConfiguration& after_;
  std::vector<DisplayState*> waiting_;  ///< on the desktop before and after, not yet given a place
};

const OriginRequest* requestFor(const std::vector<OriginRequest>& requests, const DisplayState& state) {
  const auto last = std::find_if(requests.rbegin(), requests.rend(),
                                 [&](const OriginRequest& request) { return request.display == state.display; });
  return last == requests.rend() ? nullptr : &*last;
}

bool isAskedToBeMain(const std::vector<OriginRequest>& requests, const DisplayState& state) {
  const OriginRequest* request = requestFor(requests, state);
  return state.hasOwnPlace() && request != nullptr && request->origin == Point{};
}

/// A display asked to (0, 0), best one that is not main yet; else the main display so far, or whom it mirrors now; else
/// the first in order. Null when no display is on.
DisplayState* chooseMain(const DisplayConfiguration& before, DisplayConfiguration& after,
                         const std::vector<OriginRequest>& requests) {
  const DisplayState* was = before.main();
  DisplayState* former = was == nullptr ? nullptr : &after.of(*was->display);
  for (DisplayState& state : after.states) {
    if (isAskedToBeMain(requests, state) && &state != former) return &state;
  }
  if (former != nullptr && former->isArranged()) {
    return former->master == nullptr ? former : &after.of(*former->master);
  }
  if (const DisplayState* atOrigin = after.main()) return &after.of(*atOrigin->display);
  const auto first = std::find_if(after.states.begin(), after.states.end(),
                                  [](const DisplayState& state) { return state.hasOwnPlace(); });
  return first == after.states.end() ? nullptr : &*first;
}

/// A display that never stood anywhere goes to the right of the one before it.
void placeNewcomers(DisplayConfiguration& after) {
  const DisplayState* before = nullptr;
  for (DisplayState& state : after.states) {
    if (!state.hasOwnPlace()) continue;
    if (!state.placed && before != nullptr) state.origin = {.x = right(rectOf(*before)), .y = top(rectOf(*before))};
    state.placed = true;
    before = &state;
  }
}

/// Moves everything, also the places that displays which are off will come back to.
void shiftToOrigin(DisplayConfiguration& after, Point main) {
  for (DisplayState& state : after.states) {
    if (state.placed) state.origin = {.x = state.origin.x - main.x, .y = state.origin.y - main.y};
  }
}

void followRequests(DisplayConfiguration& after, const std::vector<OriginRequest>& requests) {
  for (DisplayState& state : after.states) {
    const OriginRequest* request = requestFor(requests, state);
    if (request == nullptr) continue;
    state.origin = request->origin;
    state.placed = true;
  }
}

// --- Putting them down ---

/// A display still to be put down.
struct Waiting {
  DisplayState* state = nullptr;
  Point wanted;
  int rank = 0;  ///< 0 asked for, 1 was there before, 2 comes back: who yields at equal distance
};

struct Place {
  Point origin;
  double distance = std::numeric_limits<double>::infinity();  ///< squared, from the place wanted
};

/// Offers a place; kept when it is free and nearer than what was found so far.
void consider(Place& best, Point origin, const Waiting& waiting, const std::vector<Rect>& standing) {
  const Rect rect{.origin = origin, .size = waiting.state->size()};
  if (std::any_of(standing.begin(), standing.end(), [&](const Rect& other) { return overlap(rect, other); })) return;
  const double dx = origin.x - waiting.wanted.x, dy = origin.y - waiting.wanted.y;
  const double distance = dx * dx + dy * dy;
  if (distance < best.distance) best = {.origin = origin, .distance = distance};
}

/// Along the four edges of one standing display: straight beside the wanted place, or pushed to the end of another one
/// that is in the way.
void considerEdges(Place& best, const Rect& edge, const Waiting& waiting, const std::vector<Rect>& standing) {
  const Size size = waiting.state->size();
  std::vector<double> xs{waiting.wanted.x}, ys{waiting.wanted.y};
  for (const Rect& other : standing) {
    xs.insert(xs.end(), {left(other) - size.width, right(other)});
    ys.insert(ys.end(), {top(other) - size.height, bottom(other)});
  }
  for (const double wantedY : ys) {
    const double y = heldToRange(wantedY, size.height, top(edge), bottom(edge));
    consider(best, {.x = right(edge), .y = y}, waiting, standing);
    consider(best, {.x = left(edge) - size.width, .y = y}, waiting, standing);
  }
  for (const double wantedX : xs) {
    const double x = heldToRange(wantedX, size.width, left(edge), right(edge));
    consider(best, {.x = x, .y = bottom(edge)}, waiting, standing);
    consider(best, {.x = x, .y = top(edge) - size.height}, waiting, standing);
  }
}

/// There always is one: nothing stands to the right of the rightmost edge.
Place nearestPlace(const Waiting& waiting, const std::vector<Rect>& standing) {
  Place best;
  for (const Rect& edge : standing) considerEdges(best, edge, waiting, standing);
  return best;
}

/// The one that comes nearest to its wish goes first, so that who already stands well is never pushed by who does not.
void putDown(std::vector<Waiting> waiting, std::vector<Rect> standing) {
  while (!waiting.empty()) {
    std::size_t chosen = 0;
    Place place;
    for (std::size_t i = 0; i < waiting.size(); ++i) {
      const Place candidate = nearestPlace(waiting[i], standing);
      const bool nearer = candidate.distance < place.distance;
      const bool goesBefore = candidate.distance == place.distance && waiting[i].rank < waiting[chosen].rank;
      if (i != 0 && !nearer && !goesBefore) continue;
      chosen = i;
      place = candidate;
    }
    waiting[chosen].state->origin = place.origin;
    standing.push_back(rectOf(*waiting[chosen].state));
    waiting.erase(waiting.begin() + static_cast<std::ptrdiff_t>(chosen));
  }
}

void putDownAll(const DisplayConfiguration& before, DisplayConfiguration& after, const DisplayState& main,
                const std::vector<OriginRequest>& requests) {
  std::vector<Waiting> waiting;
  for (DisplayState& state : after.states) {
    if (!state.hasOwnPlace() || &state == &main) continue;
    const bool stayed = before.of(*state.display).hasOwnPlace();
    const int rank = requestFor(requests, state) != nullptr ? 0 : stayed ? 1 : 2;
    waiting.push_back({.state = &state, .wanted = state.origin, .rank = rank});
  }
  putDown(std::move(waiting), {rectOf(main)});
}

/// A display that is off would pass for the main one at the main one's corner: it comes back as a newcomer instead.
void forgetPlacesAtOrigin(DisplayConfiguration& after) {
  double rightmost = 0;
  for (const DisplayState& state : after.states) {
    if (state.hasOwnPlace()) rightmost = std::max(rightmost, right(rectOf(state)));
  }
  for (DisplayState& state : after.states) {
    if (!state.hasOwnPlace() && state.origin == Point{}) state.origin = {.x = rightmost, .y = 0};
  }
}

void settleOnce(const DisplayConfiguration& before, DisplayConfiguration& after,
                const std::vector<OriginRequest>& requests) {
  DisplayState* main = chooseMain(before, after, requests);
  if (main == nullptr) return;
  NeighbourKeeper(before, after).keepFrom(main);
  placeNewcomers(after);
  shiftToOrigin(after, main->origin);
  followRequests(after, requests);
  shiftToOrigin(after, Point(main->origin));
  putDownAll(before, after, *main, requests);
  forgetPlacesAtOrigin(after);
}

/// Those that did not come to stand where they were asked to, seen from where the main display stands now.
std::vector<OriginRequest> unmet(const DisplayConfiguration& after, const std::vector<OriginRequest>& requests) {
  const DisplayState* const main = after.main();
  if (main == nullptr) return {};
  const OriginRequest* const ofMain = requestFor(requests, *main);
  const Point zero = ofMain == nullptr ? Point{} : ofMain->origin;
  std::vector<OriginRequest> left;
  for (const DisplayState& state : after.states) {
    const OriginRequest* const request = requestFor(requests, state);
    if (request == nullptr || &state == main || !state.hasOwnPlace()) continue;
    const Point wanted{.x = request->origin.x - zero.x, .y = request->origin.y - zero.y};
    // Who asked to be the main display and is not never will be.
    if (wanted != Point{} && wanted != state.origin) left.push_back({.display = state.display, .origin = wanted});
  }
  return left;
}

bool isSameArrangement(const DisplayConfiguration& a, const DisplayConfiguration& b) {
  return std::equal(a.states.begin(), a.states.end(), b.states.begin(),
                    [](const DisplayState& one, const DisplayState& other) { return one.origin == other.origin; });
}

}  // namespace

void settle(const DisplayConfiguration& before, DisplayConfiguration& after,
            const std::vector<OriginRequest>& requests) {
  settleOnce(before, after, requests);
  // Who asks for the same again gets the same: what stands now may let somebody nearer to the place asked for. That the
  // platform brings an arrangement to rest within one request is assumed, not known. Few displays do so soon; two that
  // push each other to and fro never would.
  constexpr int kMostRounds = 8;
  std::vector<OriginRequest> left = unmet(after, requests);
  for (int round = 0; round < kMostRounds && !left.empty(); ++round) {
    const DisplayConfiguration found = after;
    settleOnce(found, after, left);
    left = unmet(after, left);
    if (isSameArrangement(found, after)) return;
  }
}

}  // namespace vlm::sim
