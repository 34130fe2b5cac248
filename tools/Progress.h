#ifndef ORVEL_PROGRESS_H
#define ORVEL_PROGRESS_H

#include <string>

namespace orvel {

/// Says in a line on standard error what is being done while it lasts, if somebody is looking:
/// nothing where that is no terminal. The line is erased afterwards.
class Progress {
public:
    explicit Progress(const std::string& what);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// What is being done now.
    void now(const std::string& what);

    /// How much of it is done, 0 to 1.
    void share(double done);

    /// How far it is, in words.
    void soFar(const std::string& words);

private:
    void show(const std::string& text);

    bool m_shown;
    std::string m_what;
    int m_percent = -1; ///< shown, or -1
};

} // namespace orvel

#endif
