#include "platform/linux/X11WindowReader.hpp"

#include <xcb/res.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <set>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "platform/linux/X11WindowAnswers.hpp"
#include "platform/linux/XcbReply.hpp"

namespace tallyfox::linux_os {
namespace {

/// More windows than any desktop shows at once; the rest of a longer list is not read. In 32-bit items.
constexpr std::uint32_t listedWindows = 4096;
/// Texts and lists of one window, in 32-bit items: 4 KiB is beyond every title that a person could read.
constexpr std::uint32_t propertyItems = 1024;
/// Levels of frames around a client; window managers use one or two.
constexpr int frameLevels = 8;

std::array<xcb_atom_t, Asked::count> askedProperties(const X11Connection& connection) {
  std::array<xcb_atom_t, Asked::count> atoms{};
  atoms[Asked::pid] = connection.atom(X11Atom::netWmPid);
  atoms[Asked::machine] = XCB_ATOM_WM_CLIENT_MACHINE;
  atoms[Asked::name] = connection.atom(X11Atom::netWmName);
  atoms[Asked::wmClass] = XCB_ATOM_WM_CLASS;
  atoms[Asked::gtkApplication] = connection.atom(X11Atom::gtkApplicationID);
  atoms[Asked::kdeDesktopFile] = connection.atom(X11Atom::kdeDesktopFile);
  atoms[Asked::transientFor] = XCB_ATOM_WM_TRANSIENT_FOR;
  atoms[Asked::types] = connection.atom(X11Atom::netWmWindowType);
  atoms[Asked::states] = connection.atom(X11Atom::netWmState);
  atoms[Asked::desktop] = connection.atom(X11Atom::netWmDesktop);
  atoms[Asked::frameExtents] = connection.atom(X11Atom::netFrameExtents);
  atoms[Asked::gtkFrameExtents] = connection.atom(X11Atom::gtkFrameExtents);
  atoms[Asked::opacity] = connection.atom(X11Atom::netWmWindowOpacity);
  return atoms;
}

xcb_get_property_cookie_t propertyOf(const X11Connection& connection, xcb_window_t window, xcb_atom_t atom,
                                     std::uint32_t items = propertyItems) {
  return xcb_get_property(connection.get(), 0, window, atom, XCB_GET_PROPERTY_TYPE_ANY, 0, items);
}

std::optional<std::int32_t> processNumber(std::uint32_t value) {
  if (value == 0 || value > static_cast<std::uint32_t>(std::numeric_limits<std::int32_t>::max())) return std::nullopt;
  return static_cast<std::int32_t>(value);
}

/// Whether two names of machines mean the same one: equal, or equal up to the first dot when one lacks its domain.
bool isSameMachine(std::string_view one, std::string_view other) {
  if (one == other) return true;
  if (one.find('.') != std::string_view::npos && other.find('.') != std::string_view::npos) return false;
  return one.substr(0, one.find('.')) == other.substr(0, other.find('.'));
}

}  // namespace

/// The questions that no property answers.
struct X11WindowReader::Place {
  xcb_get_window_attributes_cookie_t attributes{};
  xcb_get_geometry_cookie_t geometry{};
  xcb_translate_coordinates_cookie_t origin{};
};

X11Property X11WindowReader::property(xcb_get_property_cookie_t question) const {
  const auto reply = owned(xcb_get_property_reply(connection_.get(), question, nullptr));
  if (!reply || reply->type == XCB_NONE) return {};
  const int length = xcb_get_property_value_length(reply.get());
  if (length < 0) return {};
  return {reply->format,
          std::string(static_cast<const char*>(xcb_get_property_value(reply.get())), static_cast<std::size_t>(length)),
          reply->type == connection_.atom(X11Atom::utf8String)};
}

X11Screen X11WindowReader::screen() const {
  const xcb_window_t root = connection_.root();
  const auto stacking = propertyOf(connection_, root, connection_.atom(X11Atom::netClientListStacking), listedWindows);
  const auto mapping = propertyOf(connection_, root, connection_.atom(X11Atom::netClientList), listedWindows);
  const auto active = propertyOf(connection_, root, connection_.atom(X11Atom::netActiveWindow));
  const auto desktopNumber = propertyOf(connection_, root, connection_.atom(X11Atom::netCurrentDesktop));

  X11Screen screen;
  const X11Property stackingOrder = property(stacking);
  const X11Property mappingOrder = property(mapping);
  if (const auto window = property(active).value(); window && *window != XCB_NONE) screen.active = window;
  screen.currentDesktop = property(desktopNumber).value();

  std::vector<XWindowID> listed = stackingOrder.exists() ? stackingOrder.values() : mappingOrder.values();
  if (!stackingOrder.exists() && !mappingOrder.exists()) listed = unframedWindows();
  std::unordered_set<XWindowID> seen = {XCB_NONE, root};
  for (const XWindowID window : listed)
    if (seen.insert(window).second) screen.managed.push_back(window);
  return screen;
}

std::vector<XWindowID> X11WindowReader::unframedWindows() const {
  const auto tree =
      owned(xcb_query_tree_reply(connection_.get(), xcb_query_tree(connection_.get(), connection_.root()), nullptr));
  if (!tree) return {};
  const xcb_window_t* children = xcb_query_tree_children(tree.get());
  const std::vector<XWindowID> windows(children, children + xcb_query_tree_children_length(tree.get()));
  std::vector<xcb_get_window_attributes_cookie_t> questions;
  for (const XWindowID window : windows)
    questions.push_back(xcb_get_window_attributes(connection_.get(), window));
  std::vector<XWindowID> managed;
  for (std::size_t i = 0; i < windows.size(); ++i) {
    const auto reply = owned(xcb_get_window_attributes_reply(connection_.get(), questions[i], nullptr));
    if (reply && reply->map_state == XCB_MAP_STATE_VIEWABLE && reply->override_redirect == 0 &&
        reply->_class == XCB_WINDOW_CLASS_INPUT_OUTPUT)
      managed.push_back(windows[i]);
  }
  return managed;
}

X11WindowReader::Place X11WindowReader::askForPlace(XWindowID window) const {
  return {.attributes = xcb_get_window_attributes(connection_.get(), window),
          .geometry = xcb_get_geometry(connection_.get(), window),
          .origin = xcb_translate_coordinates(connection_.get(), window, connection_.root(), 0, 0)};
}

/// False when the window is gone. Every answer is fetched all the same: those left unfetched would stay in memory.
bool X11WindowReader::collect(const Place& place, X11WindowAnswers& answers) const {
  const auto attributes = owned(xcb_get_window_attributes_reply(connection_.get(), place.attributes, nullptr));
  const auto geometry = owned(xcb_get_geometry_reply(connection_.get(), place.geometry, nullptr));
  const auto origin = owned(xcb_translate_coordinates_reply(connection_.get(), place.origin, nullptr));
  if (!attributes || !geometry || !origin || origin->same_screen == 0) return false;
  answers.isViewable = attributes->map_state == XCB_MAP_STATE_VIEWABLE;
  answers.isManaged = attributes->override_redirect == 0;
  answers.clientFrame = {double(origin->dst_x), double(origin->dst_y), double(geometry->width),
                         double(geometry->height)};
  return true;
}

std::vector<X11WindowAnswers> X11WindowReader::ask(const std::vector<XWindowID>& windows) const {
  struct Questions {
    XWindowID id = 0;
    Place place;
    std::array<xcb_get_property_cookie_t, Asked::count> properties{};
  };
  const auto atoms = askedProperties(connection_);
  std::vector<Questions> questions;
  questions.reserve(windows.size());
  for (const XWindowID window : windows) {
    Questions& question = questions.emplace_back(Questions{.id = window, .place = askForPlace(window)});
    for (std::size_t i = 0; i < atoms.size(); ++i)
      question.properties[i] = propertyOf(connection_, window, atoms[i]);
  }

  std::vector<X11WindowAnswers> existing;
  for (const Questions& question : questions) {
    X11WindowAnswers answers;
    answers.id = question.id;
    const bool exists = collect(question.place, answers);
    for (std::size_t i = 0; i < Asked::count; ++i)
      answers.properties[i] = property(question.properties[i]);
    if (!exists) continue;
    const std::string host = answers.properties[Asked::machine].text();
    if (host.empty() || isSameMachine(host, connection_.hostName()))
      answers.process = answers.properties[Asked::pid].value().and_then(processNumber);
    existing.push_back(std::move(answers));
  }
  askForTheMissing(existing);
  return existing;
}

void X11WindowReader::renew(std::vector<X11WindowAnswers>& windows) const {
  std::vector<Place> places;
  places.reserve(windows.size());
  for (const X11WindowAnswers& window : windows)
    places.push_back(askForPlace(window.id));
  std::size_t index = 0;
  std::erase_if(windows, [&](X11WindowAnswers& window) { return !collect(places[index++], window); });
}

XWindow X11WindowReader::described(const X11WindowAnswers& answers, const X11Screen& screen) const {
  return linux_os::described(answers, connection_, screen.currentDesktop);
}

std::vector<XWindow> X11WindowReader::read(const std::vector<XWindowID>& windows, const X11Screen& screen) const {
  std::vector<XWindow> read;
  for (const X11WindowAnswers& answers : ask(windows))
    read.push_back(described(answers, screen));
  return read;
}

/// The older names of what a window does not tell by the newer ones. And for windows that do not tell their process, or
/// tell one of another machine (a container sharing this display is such a one): the process at the other end of the
/// client's connection, as the kernel told the server.
void X11WindowReader::askForTheMissing(std::vector<X11WindowAnswers>& windows) const {
  std::vector<std::pair<X11WindowAnswers*, xcb_get_property_cookie_t>> names;
  std::vector<std::pair<X11WindowAnswers*, xcb_get_property_cookie_t>> states;
  std::vector<std::pair<X11WindowAnswers*, xcb_res_query_client_ids_cookie_t>> processes;
  for (X11WindowAnswers& answers : windows) {
    if (answers.properties[Asked::name].text().empty())
      names.emplace_back(&answers, propertyOf(connection_, answers.id, XCB_ATOM_WM_NAME));
    if (!answers.properties[Asked::states].exists())
      states.emplace_back(&answers, propertyOf(connection_, answers.id, connection_.atom(X11Atom::wmState)));
    const xcb_res_client_id_spec_t client{answers.id, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
    if (!answers.process && connection_.tellsClientProcesses())
      processes.emplace_back(&answers, xcb_res_query_client_ids(connection_.get(), 1, &client));
  }
  for (const auto& [answers, question] : names)
    answers->properties[Asked::name] = property(question);
  for (const auto& [answers, question] : states)
    answers->olderState = property(question);
  for (const auto& [answers, question] : processes)
    if (const auto found = clientProcesses(question); found.size() == 1) answers->process = found.front();
}

std::optional<XWindowID> X11WindowReader::windowWithin(XWindowID topLevel,
                                                       const std::vector<XWindowID>& windows) const {
  struct Ancestor {
    XWindowID window;
    XWindowID reached;  ///< XCB_NONE once the root is reached or the window is gone
    xcb_query_tree_cookie_t tree;
  };
  std::vector<Ancestor> ancestors;
  for (const XWindowID window : windows)
    ancestors.push_back({window, window, {}});
  for (int level = 0; level < frameLevels; ++level) {
    for (Ancestor& ancestor : ancestors)
      if (ancestor.reached == topLevel) return ancestor.window;
    std::erase_if(ancestors, [](const Ancestor& ancestor) { return ancestor.reached == XCB_NONE; });
    for (Ancestor& ancestor : ancestors)
      ancestor.tree = xcb_query_tree(connection_.get(), ancestor.reached);
    for (Ancestor& ancestor : ancestors) {
      const auto tree = owned(xcb_query_tree_reply(connection_.get(), ancestor.tree, nullptr));
      ancestor.reached =
          tree && tree->parent != connection_.root() ? tree->parent : static_cast<xcb_window_t>(XCB_NONE);
    }
  }
  return std::nullopt;
}

std::optional<XWindowID> X11WindowReader::topLevelAt(AXPoint point) const {
  xcb_connection_t* const connection = connection_.get();
  const auto tree = owned(xcb_query_tree_reply(connection, xcb_query_tree(connection, connection_.root()), nullptr));
  if (!tree) return std::nullopt;
  const xcb_window_t* children = xcb_query_tree_children(tree.get());
  const std::vector<XWindowID> windows(children, children + xcb_query_tree_children_length(tree.get()));
  std::vector<std::pair<xcb_get_window_attributes_cookie_t, xcb_get_geometry_cookie_t>> questions;
  for (const XWindowID window : windows)
    questions.emplace_back(xcb_get_window_attributes(connection, window), xcb_get_geometry(connection, window));
  std::optional<XWindowID> top;
  for (std::size_t i = 0; i < windows.size(); ++i) {
    const auto attributes = owned(xcb_get_window_attributes_reply(connection, questions[i].first, nullptr));
    const auto geometry = owned(xcb_get_geometry_reply(connection, questions[i].second, nullptr));
    if (!attributes || !geometry || attributes->map_state != XCB_MAP_STATE_VIEWABLE) continue;
    const double width = geometry->width + 2.0 * geometry->border_width;
    const double height = geometry->height + 2.0 * geometry->border_width;
    if (point.x >= geometry->x && point.x < geometry->x + width && point.y >= geometry->y &&
        point.y < geometry->y + height)
      top = windows[i];
  }
  return top;
}

std::vector<std::int32_t> X11WindowReader::clientProcesses() const {
  if (!connection_.tellsClientProcesses()) return {};
  const xcb_res_client_id_spec_t everyone{XCB_NONE, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
  return clientProcesses(xcb_res_query_client_ids(connection_.get(), 1, &everyone));
}

/// Ascending, each once.
std::vector<std::int32_t> X11WindowReader::clientProcesses(xcb_res_query_client_ids_cookie_t question) const {
  std::set<std::int32_t> processes;
  if (const auto reply = owned(xcb_res_query_client_ids_reply(connection_.get(), question, nullptr)))
    for (auto ids = xcb_res_query_client_ids_ids_iterator(reply.get()); ids.rem > 0; xcb_res_client_id_value_next(&ids))
      if ((ids.data->spec.mask & XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID) != 0 &&
          xcb_res_client_id_value_value_length(ids.data) > 0)
        if (const auto process = processNumber(*xcb_res_client_id_value_value(ids.data))) processes.insert(*process);
  return {processes.begin(), processes.end()};
}

}  // namespace tallyfox::linux_os
