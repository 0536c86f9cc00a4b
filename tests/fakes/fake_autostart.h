// An autostart entry that lives in memory.
#pragma once

#include "platform/autostart.h"

namespace cvl::test {

class FakeAutostart final : public Autostart {
public:
    [[nodiscard]] bool exists() const override { return present; }
    bool write(const QString& cmd) override {
        present = true;
        command = cmd;
        ++writes;
        return true;
    }
    bool remove() override {
        const bool was = present;
        present = false;
        ++removals;
        return was;
    }

    bool present = false;
    QString command;
    int writes = 0;
    int removals = 0;
};

} // namespace cvl::test
