#include "platform/stderr_prompter.h"

#include <cstdio>

namespace cvl {

void writeStderrLine(const QString& text) {
    QString line = text;
    line.replace(QStringLiteral("\r\n"), QStringLiteral(" "));
    line.replace(QLatin1Char('\r'), QLatin1Char(' '));
    line.replace(QLatin1Char('\n'), QLatin1Char(' '));
    std::fprintf(stderr, "%s\n", line.toLocal8Bit().constData());
    std::fflush(stderr);
}

bool StderrPrompter::askYesNo(PromptOwner, const QString& caption, const QString& text) {
    writeStderrLine(caption + QStringLiteral(": ") + text + QStringLiteral(" [answered No]"));
    return false;
}

void StderrPrompter::inform(PromptOwner, const QString& caption, const QString& text) {
    writeStderrLine(caption + QStringLiteral(": ") + text);
}

} // namespace cvl
