// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "shared/fakedriver.h"
#include "shared/fakenode.h"

#include "platform/persistdestination.h"

#include <functional>
#include <stdexcept>

namespace tst {

/** What a node does to the store besides writing and reading its own values. */
using Unruliness = std::function<void(tq::IPersistDestination&)>;

/** Ways out of a node's own entry, by their names. */
inline const QMap<QByteArray, Unruliness> k_unruliness{
    { "leaves open",
        [](tq::IPersistDestination& target) {
            target.beginGroup(QStringLiteral("Group"));
            target.beginWriteArray(QStringLiteral("Array"));
            target.setArrayIndex(3);
        } },
    { "closes too much",
        [](tq::IPersistDestination& target) {
            target.endGroup();
            target.endArray();
            target.endGroup();
        } },
    { "closes over", // a group with an array that is open inside
        [](tq::IPersistDestination& target) {
            target.beginGroup(QStringLiteral("Group"));
            target.beginWriteArray(QStringLiteral("Array"));
            target.endGroup();
        } },
    { "moves on", [](tq::IPersistDestination& target) { target.setArrayIndex(7); } },
    { "syncs", [](tq::IPersistDestination& target) { target.sync(); } },
    { "throws",
        [](tq::IPersistDestination& target) {
            target.beginGroup(QStringLiteral("Group"));
            throw std::runtime_error("broken node");
        } },
};

/** A node that misbehaves after its own values while `isUnruly` is set. */
class UnrulyNode : public PlainNode
{
public:
    UnrulyNode(const QString& id, const Unruliness& act) : PlainNode(id), m_act(act) { }

    void save(tq::IPersistDestination* target) const override
    {
        PlainNode::save(target);
        misbehave(target);
    }
    void load(tq::IPersistDestination* source) override
    {
        PlainNode::load(source);
        misbehave(source);
    }

    bool isUnruly = true;

private:
    void misbehave(tq::IPersistDestination* store) const
    {
        if (isUnruly)
            m_act(*store);
    }

    Unruliness m_act;
};

/** A driver of such nodes. */
class UnrulyDriver : public FakeDriver
{
public:
    explicit UnrulyDriver(const Unruliness& act)
        : FakeDriver(QStringLiteral("unruly"), { { k_plainType, 1 } }), m_act(act)
    {
    }

    tq::Node* createNode(tq::ENodeType) override { return new UnrulyNode(QString(), m_act); }

private:
    Unruliness m_act;
};

} // namespace tst
