#pragma once

#include <QtCore/QByteArray>

#include <cstddef>

/// The least that a sorted list of all files can cost: a walk over the kernel's
/// own calls with two threads, no paths, no types of Qt, names sorted within
/// each folder. Gives the number of files, without links.
std::size_t bare_walk(const QByteArray& root);
