#pragma once
// Whose pages may speak to the client: the origins of service.ini's addresses, and those that its webOrigins lists,
// separated by blanks or commas, as https://a.example https://b.example:8443. Read at each question, which comes once a
// page; any thread.
#include <QUrl>

namespace WebOrigins
{
bool listed(const QUrl &address);
bool same(const QUrl &a, const QUrl &b); // scheme, host and port
} // namespace WebOrigins
