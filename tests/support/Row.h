#pragma once
// A row of a data-driven test, on as few lines as it needs; a text in quotes is a column of QString.
#include <QtTest>

template <std::size_t Size> QTestData &operator<<(QTestData &data, const char (&text)[Size]) { return data << QString::fromUtf8(text); }

template <typename... Columns> void addRow(const char *name, const Columns &...columns) { (void)(QTest::newRow(name) << ... << columns); }
