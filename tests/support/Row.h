#pragma once
// Columns and rows of data-driven tests, on as few lines as they need; a text in quotes is a column of QString.
//   columns<QString, int>("path", "state");  addRow("the row's name", "/a.ma", 103);  FETCH(QString, path, int, state);
#include "support/TestMain.h"
#include <tuple>
#include <vector>

template <std::size_t Size> QTestData &operator<<(QTestData &data, const char (&text)[Size]) { return data << QString::fromUtf8(text); }

template <typename... Columns> void addRow(const char *name, const Columns &...columns) { (void)(QTest::newRow(name) << ... << columns); }

template <typename> using ColumnName = const char *;
template <typename... Columns> void columns(ColumnName<Columns>... names) { (QTest::addColumn<Columns>(names), ...); }

// A table of a pure function, for a loop: for (const auto &[text, number] : Rows<QString, int>{{"5", 5}}) ...
template <typename... Columns> using Rows = std::vector<std::tuple<Columns...>>;

#define VN_FETCH2(type, name) QFETCH(type, name)
#define VN_FETCH4(type, name, ...)                                                                                                         \
    QFETCH(type, name);                                                                                                                    \
    VN_FETCH2(__VA_ARGS__)
#define VN_FETCH6(type, name, ...)                                                                                                         \
    QFETCH(type, name);                                                                                                                    \
    VN_FETCH4(__VA_ARGS__)
#define VN_FETCH8(type, name, ...)                                                                                                         \
    QFETCH(type, name);                                                                                                                    \
    VN_FETCH6(__VA_ARGS__)
#define VN_FETCH10(type, name, ...)                                                                                                        \
    QFETCH(type, name);                                                                                                                    \
    VN_FETCH8(__VA_ARGS__)
#define VN_PICK(a, b, c, d, e, f, g, h, i, j, name, ...) name
#define FETCH(...) VN_PICK(__VA_ARGS__, VN_FETCH10, , VN_FETCH8, , VN_FETCH6, , VN_FETCH4, , VN_FETCH2, )(__VA_ARGS__)
