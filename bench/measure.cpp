#include "bench/measure.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

double processor_seconds()
{
    double seconds = 0;
    for (const int who : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
        rusage usage;
        getrusage(who, &usage);
        for (const timeval& part : {usage.ru_utime, usage.ru_stime})
            seconds += double(part.tv_sec) + double(part.tv_usec) * 1e-6;
    }
    return seconds;
}

QString text_of(const COST& cost)
{
    return QString("%1 s (%2)").arg(cost.time, 0, 'f', 3).arg(cost.processor, 0, 'f', 3);
}

} // namespace

COST least(const COST& a, const COST& b)
{
    return {std::min(a.time, b.time), std::min(a.processor, b.processor)};
}

COST cost_of(const std::function<void()>& work)
{
    const double processor = processor_seconds();
    const auto start = std::chrono::steady_clock::now();
    work();
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
    return {time.count(), processor_seconds() - processor};
}

void race(std::vector<CONTENDER>& contenders, int rounds)
{
    for (CONTENDER& contender : contenders)
        contender.work();
    for (int round = 0; round < rounds; ++round)
        for (CONTENDER& contender : contenders) {
            const COST cost = cost_of(contender.work);
            contender.best = round == 0 ? cost : least(contender.best, cost);
        }
}

void give_up(const QString& text)
{
    std::fflush(stdout);
    std::fprintf(stderr, "gox_bench: %s\n", qUtf8Printable(text));
    std::exit(2);
}

int run_program(const QStringList& command, const QString& output)
{
    std::vector<QByteArray> texts;
    texts.reserve(std::size_t(command.size()));
    for (const QString& part : command)
        texts.push_back(part.toLocal8Bit());
    std::vector<char*> arguments;
    arguments.reserve(texts.size() + 1);
    for (QByteArray& text : texts)
        arguments.push_back(text.data());
    arguments.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, output.toLocal8Bit().constData(),
                                     O_WRONLY | O_CREAT | O_TRUNC, 0644);
    pid_t process = 0;
    const int error = posix_spawnp(&process, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0)
        give_up(command.first() + ": " + QString::fromLocal8Bit(std::strerror(error)));
    int status = 0;
    if (waitpid(process, &status, 0) != process || !WIFEXITED(status))
        give_up(command.first() + " did not end well");
    return WEXITSTATUS(status);
}

void FIGURES::print_head()
{
    std::printf("%-40s %16s  %-42s %9s %8s\n", "what", "own (processor)", "against (processor)", "figure",
                "at most");
    std::fflush(stdout);
}

void FIGURES::ratio(const QString& what, const COST& own, const QString& against, const COST& other,
                    double limit)
{
    const double ratio = own.time / other.time;
    print(what, text_of(own), against + ", " + text_of(other), QString::number(ratio, 'f', 3), ratio, limit);
}

void FIGURES::steps(const QString& what, const STEPS& steps)
{
    QString line = what + ":";
    for (const auto& step : steps)
        line += QString(" %1 %2,").arg(step.first, text_of(step.second));
    line.chop(1);
    std::printf("    %s\n", qUtf8Printable(line));
    std::fflush(stdout);
}

void FIGURES::value(const QString& what, double value, const QString& unit, double limit)
{
    print(what, QString::number(value, 'f', 3) + " " + unit, QString(), QString::number(value, 'f', 2), value,
          limit);
}

void FIGURES::print(const QString& what, const QString& own, const QString& other, const QString& figure,
                    double number, double limit)
{
    const bool is_missed = limit > 0 && number > limit;
    m_missed |= is_missed;
    std::printf("%-40s %16s  %-42s %9s %8s%s\n", qUtf8Printable(what), qUtf8Printable(own),
                qUtf8Printable(other), qUtf8Printable(figure),
                limit > 0 ? qUtf8Printable(QString::number(limit)) : "", is_missed ? "  MISSED" : "");
    std::fflush(stdout);
}
