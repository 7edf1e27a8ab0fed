// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "shared/fakedriver.h"
#include "shared/fakenode.h"

#include "platform/persistdestination.h"

#include <stdexcept>

namespace tst {

/** A node that calls the store, after its own values, as the words of its note say. */
class UnrulyNode : public PlainNode
{
public:
    using PlainNode::PlainNode;

    tq::Node* clone() const override
    {
        auto* const copy = new UnrulyNode(id(), type());
        deepCopy(copy);
        return copy;
    }
    void save(tq::IPersistDestination* target) const override
    {
        PlainNode::save(target);
        obeyNote(*target);
    }
    void load(tq::IPersistDestination* source) override
    {
        PlainNode::load(source);
        obeyNote(*source);
    }

private:
    void obeyNote(tq::IPersistDestination& store) const
    {
        for (const QString& word : note().split(u' ')) {
            if (word == u"group")
                store.beginGroup(word);
            else if (word == u"endGroup")
                store.endGroup();
            else if (word == u"array")
                store.beginWriteArray(word);
            else if (word == u"endArray")
                store.endArray();
            else if (word == u"index")
                store.setArrayIndex(7);
            else if (word == u"sync")
                store.sync();
            else if (word == u"throw")
                throw std::runtime_error("broken node");
        }
    }
};

/** A driver that reads such nodes. */
class UnrulyDriver : public FakeDriver
{
public:
    UnrulyDriver() : FakeDriver(QStringLiteral("unruly"), { { k_plainType, 1 } }) { }
    tq::Node* createNode(tq::ENodeType) override { return new UnrulyNode(QString()); }
};

} // namespace tst
