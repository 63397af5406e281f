// SPDX-License-Identifier: MIT
// One method call of a client.
#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QVariantList>
#include <memory>

#include "service/service_error.h"

namespace tavelo {

/// Answers a call now or later.  Copies answer the same call, once.  Main thread.
class Call {
public:
    /// @param pending held until the last copy is gone; may be null
    Call(QDBusConnection bus, const QDBusMessage& message, std::shared_ptr<const void> pending);

    /// The types of the arguments, as a D-Bus signature.
    QString signature() const { return message_.signature(); }

    void answer(const QVariantList& values = {}) const;
    void fail(const ServiceError& error) const;
    /// Fails if there is an error, else answers without a value.
    void end(const std::optional<ServiceError>& error) const;

private:
    QDBusConnection bus_;
    QDBusMessage message_;
    std::shared_ptr<const void> pending_;
};

} // namespace tavelo
