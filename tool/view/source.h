#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace tool::view {

/// What is known of one controller, as texts of JSON that are made once for all who look.
struct Known {
  std::string name;
  std::shared_ptr<const std::string> state;    ///< what changes all the time; null before anything is known
  std::shared_ptr<const std::string> details;  ///< what seldom does: geometry, frames, the lines of jobs; or null
};

/// Where the states of robots come from: from controllers that are asked, or from whoever knows them.
class Source {
 public:
  Source() = default;
  virtual ~Source() = default;
  Source(const Source&) = delete;
  Source& operator=(const Source&) = delete;

  /// All controllers, in an order that stays; an object that is new is news.
  virtual std::vector<Known> look() const = 0;

  /// Tells whether anybody looks. Nobody does at first, and nobody need be asked then.
  virtual void watched(bool byAnybody) = 0;

  /// What is called when there is news, on any thread; before anybody looks.
  virtual void onNews(std::function<void()> tell) = 0;
};

}  // namespace tool::view
