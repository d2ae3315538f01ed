#include "harness/Render.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <set>
#include <vector>

#include "harness/Scenario.h"

namespace tarvolo::scenario {

namespace {

// Splits UTF-8 text into code points; every glyph the renderer uses takes one terminal column.
std::vector<std::string> glyphs(std::string_view text) {
  std::vector<std::string> out;
  for (std::size_t i = 0; i < text.size();) {
    auto lead = static_cast<unsigned char>(text[i]);
    std::size_t length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    out.emplace_back(text.substr(i, length));
    i += length;
  }
  return out;
}

int columnsOf(std::string_view text) { return static_cast<int>(glyphs(text).size()); }

class Canvas {
 public:
  explicit Canvas(int columns) : cells_(static_cast<std::size_t>(std::max(columns, 1)), " ") {}
  int width() const { return static_cast<int>(cells_.size()); }

  void fill(int from, int to, std::string_view glyph) {
    for (int column = std::max(from, 0); column < std::min(to, width()); ++column) {
      cells_[static_cast<std::size_t>(column)] = std::string(glyph);
    }
  }
  // Writes `text` from `at`, clipped to [from, to).
  void write(int at, std::string_view text, int from = 0, int to = -1) {
    if (to < 0) to = width();
    for (const auto& glyph : glyphs(text)) {
      if (at >= std::max(from, 0) && at < std::min(to, width())) cells_[static_cast<std::size_t>(at)] = glyph;
      ++at;
    }
  }
  void writeCentered(int from, int to, std::string_view text) {
    int room = to - from;
    int length = columnsOf(text);
    if (length > room) return;
    write(from + (room - length) / 2, text, from, to);
  }
  std::string text() const {
    std::string out;
    for (const auto& cell : cells_) out += cell;
    return out;
  }

 private:
  std::vector<std::string> cells_;
};

std::string points(double value) {
  long long rounded = std::llround(value);
  std::string digits = std::to_string(rounded < 0 ? -rounded : rounded);
  return rounded < 0 ? "−" + digits : digits;
}

std::string range(double minX, double maxX) { return points(minX) + "–" + points(maxX); }

// The order headlines have always named the windows in; windows added since follow in the order
// of their entries.
constexpr std::string_view kHeadlineOrder[] = {"shelf",          "contextMenu",    "preferences", "newAppNotice",
                                               "reviewPrompt",   "placementGuide", "coach",       "notices"};

std::string windowHeadlines(const std::vector<WindowShot>& windows) {
  std::string text;
  auto listed = [](std::string_view name) {
    return std::find(std::begin(kHeadlineOrder), std::end(kHeadlineOrder), name) != std::end(kHeadlineOrder);
  };
  for (std::string_view name : kHeadlineOrder) {
    auto window =
        std::find_if(windows.begin(), windows.end(), [&](const WindowShot& shot) { return shot.name == name; });
    if (window != windows.end()) text += window->view->headline();
  }
  for (const WindowShot& window : windows) {
    if (!listed(window.name)) text += window.view->headline();
  }
  return text;
}

std::string stateText(const BarSnapshot& bar) {
  if (!bar.tarvoloRunning || !bar.state) return "Tarvolo not running";
  std::string text = !bar.state->isExpanded ? "collapsed" : bar.state->isDeepExpanded ? "deep expanded" : "expanded";
  if (!bar.state->foldingEffective) text += " · folding not effective";
  return text + windowHeadlines(bar.windows);
}

std::string header(const BarSnapshot& bar, std::string_view title, int columns) {
  char time[32];
  std::snprintf(time, sizeof time, "%.3f s", bar.time);
  std::string left = "── " + std::string(time) + " · " + std::string(title) + " ";
  std::string right = " " + stateText(bar) + " ──";
  int rule = std::max(3, columns - columnsOf(left) - columnsOf(right));
  std::string out = left;
  for (int i = 0; i < rule; ++i) out += "─";
  return out + right;
}

std::string frontmostName(const sim::SimDesktop& desktop) {
  if (auto bundle = desktop.processes().frontmostBundleId()) {
    for (const auto& app : desktop.processes().apps()) {
      if (app.bundleId == *bundle) return app.name;
    }
  }
  return "Finder";
}

std::string toggleGlyph(const BarSnapshot& bar) {
  if (!bar.state || !bar.state->isExpanded) return "◀";
  return "▼";
}

struct Entry {
  double minX = 0;
  double maxX = 0;
  std::string text;
};

std::string screenCaption(const sim::SimDesktop& desktop, std::size_t index) {
  const sim::SimScreenSetup& config = desktop.screens().setups()[index];
  std::string caption = "  screen " + std::to_string(index + 1) + " · " + points(config.width) + "×" +
                        points(config.height) + " at " + points(config.x) + "," + points(config.y);
  if (auto notch = desktop.screens().infos()[index].notchRect())
    caption += " · notch " + range(notch->minX(), notch->maxX());
  return caption;
}

// Appends `entries` after `lead`, wrapping under the first entry.
void appendWrapped(std::string& out, const std::string& lead, const std::vector<std::string>& entries, int columns,
                   const std::string& separator = " · ") {
  std::string indent(static_cast<std::size_t>(columnsOf(lead)), ' ');
  std::string line = lead;
  int length = columnsOf(lead);
  bool first = true;
  for (const auto& entry : entries) {
    int needed = (first ? 0 : columnsOf(separator)) + columnsOf(entry);
    if (!first && length + needed > columns) {
      out += line + "\n";
      line = indent + entry;
      length = columnsOf(line);
    } else {
      line += (first ? "" : separator) + entry;
      length += needed;
    }
    first = false;
  }
  out += line + "\n";
}

}  // namespace

std::map<std::string, std::string> shortLabels(const std::vector<sim::SimAppSetup>& apps) {
  std::map<std::string, std::string> labels;
  std::set<std::string> taken;
  for (const auto& app : apps) {
    std::vector<std::string> words;
    std::string word;
    for (char c : app.name + " ") {
      if (std::isalnum(static_cast<unsigned char>(c))) {
        word += c;
      } else if (!word.empty()) {
        words.push_back(word);
        word.clear();
      }
    }
    std::string letters;
    for (const auto& w : words) letters += w;
    std::vector<std::string> candidates;
    if (words.size() >= 2) candidates.push_back({words[0][0], words[1][0]});
    for (std::size_t i = 1; i < letters.size(); ++i) candidates.push_back({letters[0], letters[i]});
    char first = letters.empty() ? '?' : letters[0];
    for (char digit = '2'; digit <= '9'; ++digit) candidates.push_back({first, digit});
    for (auto candidate : candidates) {
      // Capital then small, so adjacent two-column cells still read apart ("SlDrIm").
      if (std::isalpha(static_cast<unsigned char>(candidate[0]))) {
        candidate[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(candidate[0])));
        candidate[1] = static_cast<char>(std::tolower(static_cast<unsigned char>(candidate[1])));
      }
      if (taken.insert(candidate).second) {
        labels[app.bundleId] = candidate;
        break;
      }
    }
    if (!labels.count(app.bundleId)) labels[app.bundleId] = "??";
  }
  return labels;
}

namespace {

using Labels = std::map<std::string, std::string>;

// How the own item with this autosave name is drawn.
std::string ownGlyph(const std::string& autosave, const BarSnapshot& bar) {
  if (autosave == autosaveName(OwnItem::toggle)) return toggleGlyph(bar);
  if (autosave == autosaveName(OwnItem::separator)) return "|";
  return "⊘";
}

// The primary screen's bar at a uniform scale, between two frame bars.
std::string barPicture(const sim::SimDesktop& desktop, const BarSnapshot& bar, const Labels& labels, int columns) {
  const sim::SimScreenSetup& config = desktop.screens().setups().front();
  auto notch = desktop.screens().infos().front().notchRect();
  // One scale for every screen keeps icons two columns wide; a screen too wide for the terminal
  // loses its left end, where the menus start and nothing of Tarvolo's shows.
  constexpr double scale = kPointsPerColumn;
  int fullWidth = static_cast<int>(std::ceil(config.width / scale - 1e-9));
  Canvas canvas(std::min(columns - 2, fullWidth));
  double originX = config.x + config.width - canvas.width() * scale;
  bool cropped = canvas.width() < fullWidth;
  auto column = [&](double x) {
    return std::clamp(static_cast<int>(std::floor((x - originX) / scale + 1e-9)), 0, canvas.width());
  };

  double menusEdge = desktop.bar().menusRightEdge();
  if (notch && menusEdge > notch->maxX()) {
    canvas.fill(column(config.x), column(notch->minX()), "░");
    canvas.fill(column(notch->maxX()), column(menusEdge), "░");
  } else {
    canvas.fill(column(config.x), column(menusEdge), "░");
  }
  double menusLabelEnd = notch ? std::min(menusEdge, notch->minX()) : menusEdge;
  canvas.write(0, std::string(cropped ? "…" : " ") + frontmostName(desktop) + " menus ", 0, column(menusLabelEnd));
  if (cropped) canvas.write(0, "…");
  if (notch) {
    canvas.fill(column(notch->minX()), column(notch->maxX()), "█");
    canvas.writeCentered(column(notch->minX()), column(notch->maxX()), " notch ");
  }
  double statusMinX = desktop.bar().statusAreaMinX();
  double statusMaxX = desktop.bar().statusAreaMaxX();
  canvas.write(column(statusMaxX), "┊");
  canvas.writeCentered(column(statusMaxX) + 1, column(config.x + config.width), "system");

  for (const sim::SimItemState* item : desktop.bar().allItems()) {
    if (!item->frame || !item->onScreen) continue;
    int from = column(std::max(item->frame->minX(), statusMinX));
    int to = std::max(column(item->frame->maxX()), from + 1);
    canvas.fill(from, to, " ");
    if (item->ownerPid != sim::kOwnPid) {
      // Content is right-aligned in an item, so is the label.
      const std::string& label = labels.at(desktop.processes().bundleIdOfPid(item->ownerPid).value_or(""));
      canvas.write(std::max(from, to - 2), label, from, to);
      continue;
    }
    // A separator longer than an icon is what pushes icons away: show its span.
    bool stretched = item->autosaveName != autosaveName(OwnItem::toggle) && item->frame->width > 2 * scale;
    if (stretched) canvas.fill(from, to - 1, "·");
    canvas.write(to - 1, ownGlyph(item->autosaveName, bar));
  }

  std::string caption = screenCaption(desktop, 0) + " · status items " + range(statusMinX, statusMaxX) + " · " +
                        points(scale) + " pt per column";
  if (cropped) caption += " from x=" + points(originX);
  return "│" + canvas.text() + "│\n" + caption + "\n";
}

// Every icon left to right with its x range, one line per zone, each closed by the own item
// that bounds the zone on the right.
std::string iconListing(const BarSnapshot& bar, const Labels& labels, int columns) {
  std::map<std::string, int> itemsPerApp;
  for (const auto& item : bar.items) ++itemsPerApp[item.bundleId];
  auto itemName = [&](const ForeignItemFrame& item) {
    std::string name = labels.at(item.bundleId) + " " + item.appName;
    if (itemsPerApp[item.bundleId] > 1) name += " (" + item.autosaveName + ")";
    return name;
  };
  auto itemEntry = [&](const ForeignItemFrame& item) {
    return itemName(item) + (item.frame ? " " + range(item.frame->minX(), item.frame->maxX()) : "");
  };

  std::string out;
  std::vector<std::string> offScreen;
  for (const auto& item : bar.items) {
    if (!item.onScreen) offScreen.push_back(itemName(item));
  }
  if (offScreen.empty()) offScreen.push_back("nothing");
  appendWrapped(out, "  off screen      ", offScreen, columns, ", ");

  bool zoned = !bar.items.empty() && std::all_of(bar.items.begin(), bar.items.end(),
                                                 [](const ForeignItemFrame& item) { return item.zone.has_value(); });
  if (!zoned) {
    std::vector<std::string> entries;
    for (const auto& item : bar.items) entries.push_back(itemEntry(item));
    if (entries.empty()) entries.push_back("no icons");
    appendWrapped(out, "  left to right   ", entries, columns);
    return out;
  }
  struct Zone {
    PlacementZone zone;
    const char* title;
    const std::optional<OwnItemFrame>* bound;
    std::string boundGlyph;
  };
  const Zone zones[] = {
      {PlacementZone::alwaysHidden, "always hidden", &bar.alwaysHiddenSeparator, "⊘"},
      {PlacementZone::folded, "hidden", &bar.separator, "|"},
      {PlacementZone::alwaysVisible, "always visible", &bar.toggle, toggleGlyph(bar)},
      {PlacementZone::systemSide, "right of toggle", nullptr, ""},
  };
  for (const Zone& zone : zones) {
    std::vector<std::string> entries;
    for (const auto& item : bar.items) {
      if (item.zone == zone.zone) entries.push_back(itemEntry(item));
    }
    if (zone.zone == PlacementZone::systemSide && entries.empty()) continue;
    if (entries.empty()) entries.push_back("none");
    if (zone.bound && *zone.bound) {
      entries.back() += "   " + zone.boundGlyph + " " + range((*zone.bound)->minX, (*zone.bound)->maxX);
    }
    std::string lead = "  " + std::string(zone.title);
    lead.resize(18, ' ');
    appendWrapped(out, lead, entries, columns);
  }
  return out;
}

}  // namespace

std::string renderBar(const RenderBarInput& input) {
  std::string out = header(input.bar, input.title, input.columns) + "\n";
  if (!input.note.empty()) out += "  ↳ " + std::string(input.note) + "\n";
  Labels labels = shortLabels(input.desktop.processes().apps());
  out += barPicture(input.desktop, input.bar, labels, input.columns);
  // The simulated desktop lays status items out on the primary screen only.
  for (std::size_t index = 1; index < input.desktop.screens().setups().size(); ++index) {
    out += screenCaption(input.desktop, index) + " · no status items\n";
  }
  out += iconListing(input.bar, labels, input.columns);
  for (const WindowShot& window : input.bar.windows) out += window.view->render();
  return out;
}

}  // namespace tarvolo::scenario
