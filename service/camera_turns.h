// SPDX-License-Identifier: MIT
// Calls for one camera run one after another.
#pragma once

#include <QObject>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>

namespace tavelo {

/// Who may work with a camera now.  Different cameras do not wait for each other.  Main thread, on which the
/// last copy of a turn must be released too.
class CameraTurns {
public:
    /// The camera's next caller begins once the last copy is gone.
    using Turn = std::shared_ptr<const void>;
    using Begin = std::function<void(Turn turn)>;

    /// @param context callers that waited begin from its event loop; must outlive this
    explicit CameraTurns(QObject& context);
    /// Callers that still wait never begin.
    ~CameraTurns();

    CameraTurns(const CameraTurns&) = delete;
    CameraTurns& operator=(const CameraTurns&) = delete;

    /// @param begin called before this returns if nobody has the camera
    void wait(const std::string& camera, Begin begin);

private:
    struct Waiting {
        QObject& context;
        std::map<std::string, std::deque<Begin>> byCamera; ///< of each camera that somebody has
    };

    static void give(const std::shared_ptr<Waiting>& waiting, const std::string& camera, const Begin& begin);
    static void giveToNext(const std::shared_ptr<Waiting>& waiting, const std::string& camera);

    const std::shared_ptr<Waiting> waiting_; ///< turns only know whether it is still there
};

} // namespace tavelo
