// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "nodestore/nodetypes.h"

#include "platform/properties/baseproperty.h"

#include <QString>

#include <cstddef>
#include <new>
#include <typeinfo>

class QTextStream;

namespace tq {

/**
 * What a scanner, or a person typing an address, knows about a device that may become a node.
 *
 * Hints are values: they are copied by clone(), and travel whole through queued connections that
 * name `const tq::NodeHint&`, subclass fields included. Every concrete kind derives through
 * NodeHintKind, with NodeHint as its first, non-virtual base.
 */
class NODEDB_EXPORT NodeHint
{
public:
    /** The room for one hint in a queued call, in bytes; every kind must fit. */
    static constexpr std::size_t k_slotSize = 1024;

    NodeHint();
    NodeHint(const NodeHint&) = default;
    NodeHint& operator=(const NodeHint&) = default;
    virtual ~NodeHint();

    /** For kinds of hints that keep properties; the base keeps none. */
    virtual void setProperty(const tqgen::BaseProperty& property);
    virtual tqm::smart<tqgen::BaseProperty> getProperty(const QString& name) const;

    /** Writes a description for people, without passwords. */
    virtual void writeAt(QTextStream& stream) const = 0;

    /** Returns a copy of this hint's own kind, owned by the caller. */
    virtual NodeHint* clone() const = 0;

    /** Makes such a copy in the k_slotSize bytes at `where`. */
    virtual NodeHint* cloneAt(void* where) const = 0;

    /** The device's name for people. */
    QString name() const { return m_name; }
    void setName(const QString& name) { m_name = name; }

    /** Two texts, a flag (set in every new hint) and a number, whose meaning is the scanner's. */
    QString secondText() const { return m_secondText; }
    void setSecondText(const QString& text) { m_secondText = text; }
    QString thirdText() const { return m_thirdText; }
    void setThirdText(const QString& text) { m_thirdText = text; }
    bool flag() const { return m_flag; }
    void setFlag(bool flag) { m_flag = flag; }
    qint64 furtherValue() const { return m_furtherValue; }
    void setFurtherValue(qint64 value) { m_furtherValue = value; }

    /** The type of node that the device would be; eAnyNodeType sends the hint to probing. */
    ENodeType nodeType() const { return m_nodeType; }
    void setNodeType(ENodeType type) { m_nodeType = type; }

private:
    QString m_name;
    QString m_secondText;
    QString m_thirdText;
    bool m_flag = true;
    ENodeType m_nodeType = eAnyNodeType;
    qint64 m_furtherValue = 0;
};

/**
 * Gives the concrete kind `Kind` its copies. A kind that derives from another one names it as
 * `Base`; deriving without this would make copies that lack what was added.
 */
template <class Kind, class Base = NodeHint>
class NodeHintKind : public Base
{
public:
    using Base::Base;

    NodeHint* clone() const override
    {
        Q_ASSERT(typeid(*this) == typeid(Kind));
        return new Kind(static_cast<const Kind&>(*this));
    }

    NodeHint* cloneAt(void* where) const override
    {
        Q_ASSERT(typeid(*this) == typeid(Kind));
        static_assert(
            sizeof(Kind) <= NodeHint::k_slotSize && alignof(Kind) <= alignof(std::max_align_t));
        NodeHint* const copy = new (where) Kind(static_cast<const Kind&>(*this));
        Q_ASSERT(static_cast<void*>(copy) == where);
        return copy;
    }
};

} // namespace tq

/**
 * The meta-type of hints. An abstract class has none by itself, and Qt then hands a null reference
 * to queued slots; this one copies through cloneAt(), so that every queued delivery keeps the
 * hint's own kind. It names a struct that is private to Qt: a test pins its behaviour.
 */
template <>
struct QtPrivate::QMetaTypeInterfaceWrapper<tq::NodeHint>
{
    static inline constexpr const QMetaTypeInterface metaType = {
        /*.revision=*/0,
        /*.alignment=*/alignof(std::max_align_t),
        /*.size=*/tq::NodeHint::k_slotSize,
        /*.flags=*/QMetaType::NeedsConstruction | QMetaType::NeedsDestruction,
        /*.typeId=*/0,
        /*.metaObjectFn=*/nullptr,
        /*.name=*/"tq::NodeHint",
        /*.defaultCtr=*/nullptr,
        /*.copyCtr=*/
        [](const QMetaTypeInterface*, void* to, const void* from) {
            static_cast<const tq::NodeHint*>(from)->cloneAt(to);
        },
        /*.moveCtr=*/nullptr,
        /*.dtor=*/
        [](const QMetaTypeInterface*, void* at) { static_cast<tq::NodeHint*>(at)->~NodeHint(); },
        /*.equals=*/nullptr,
        /*.lessThan=*/nullptr,
        /*.debugStream=*/nullptr,
        /*.dataStreamOut=*/nullptr,
        /*.dataStreamIn=*/nullptr,
        /*.legacyRegisterOp=*/nullptr,
    };
};
