// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "devices/ipdevicenode.h"

/** A node that fails in the operation that its id names; "remover" removes all nodes when it is
 * read, once its note is "armed". */
class MisbehavingNode : public tq::IPDeviceNode
{
public:
    static constexpr auto k_type = tq::ENodeType(17);

    explicit MisbehavingNode(const QString& id);

    tq::Node* clone() const override;
    bool isIdentical(const tq::NodeHint&) const override { return false; }
    void updateFromHint(const tq::NodeHint&) override { }
    void fillHint(tq::NodeHint&) const override { }
    tqgen::PropertySet properties() const override;
    bool updateField(const tqgen::BaseProperty& property) override;
    QString name() const override;
    QString hostAddress() const override;
    void activeEnvironmentChanged() override { failIn("slot"); }

private:
    void failIn(const char* operation) const;
};
