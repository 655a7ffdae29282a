#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

/// What a fuzz target defines: hands the input to a reader. A reader may refuse
/// whatever it likes. It must not crash, hang, or take more memory than
/// MEMORY_BASE and MEMORY_FACTOR bytes for each byte of the input, and what it
/// accepts must hold what the target asks of it with `require`.
void take_input(const QByteArray& input);

constexpr qint64 MEMORY_BASE = 1 << 20;
constexpr qint64 MEMORY_FACTOR = 256;

/// Ends the process with the text when it is false, which the fuzzer takes for
/// a finding.
void require(bool is_so, const QString& text);

/// The path of a file in a folder of this process, below TMPDIR. The fuzzer ends
/// without giving anything back, so the folder stays for its caller to remove.
QString scratch_path(const QString& name);

/// Writes such a file and gives its path.
QString scratch_file(const QString& name, const QByteArray& bytes);

/// The bytes of a file; empty when there is none.
QByteArray bytes_of(const QString& path);
