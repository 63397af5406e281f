// SPDX-License-Identifier: MIT
#include "service/call.h"

#include <utility>

namespace tavelo {
namespace {

// The text may contain what cameras and clients call themselves.
constexpr qsizetype longestText = 500;

} // namespace

Call::Call(QDBusConnection bus, const QDBusMessage& message, std::shared_ptr<const void> pending)
    : bus_(std::move(bus)),
      message_(message),
      pending_(std::move(pending)) {
    message_.setDelayedReply(true);
}

void Call::answer(const QVariantList& values) const {
    if (message_.isReplyRequired()) bus_.send(message_.createReply(values));
}

void Call::fail(const ServiceError& error) const {
    if (!message_.isReplyRequired()) return;
    const QString line = QString::fromStdString(error.text).simplified().left(longestText);
    bus_.send(message_.createErrorReply(busNameOf(error.kind), line));
}

void Call::end(const std::optional<ServiceError>& error) const {
    if (error)
        fail(*error);
    else
        answer();
}

} // namespace tavelo
