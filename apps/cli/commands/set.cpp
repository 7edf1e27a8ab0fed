// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "cli/commands/commands.h"
#include "cli/inputrules.h"
#include "cli/invocation.h"
#include "cli/nodeconflict.h"
#include "cli/nodesummary.h"
#include "cli/passwordinput.h"
#include "cli/valuetext.h"

#include "nodestore/node.h"
#include "nodestore/nodedb.h"

#include <QCommandLineParser>

#include <algorithm>
#include <memory>
#include <optional>

namespace tq::cli {

namespace {

const QString k_password = QStringLiteral("Password");
const QString k_force = QStringLiteral("force");

/** One NAME=VALUE; without a value it is a password that comes from elsewhere. */
struct Assignment
{
    QString name;
    std::optional<QString> text;
};

Outcome readAssignments(const Invocation& call, QList<Assignment>& assignments)
{
    for (const QString& argument : call.arguments().mid(1)) {
        const qsizetype sign = argument.indexOf(QLatin1Char('='));
        Assignment assignment{ argument.left(sign), std::nullopt };
        if (sign >= 0)
            assignment.text = argument.mid(sign + 1);
        else if (!isSecret(assignment.name, QMetaType(QMetaType::QString)))
            return Outcome::usage(
                QStringLiteral("set wants NAME=VALUE, not %1").arg(quoted(argument)));
        assignments.append(assignment);
    }
    const bool takesPassword = std::any_of(assignments.cbegin(), assignments.cend(),
        [](const Assignment& each) { return !each.text.has_value(); });
    if (!takesPassword && isPasswordGiven(call.options()))
        assignments.append({ k_password, std::nullopt });
    if (assignments.isEmpty())
        return Outcome::usage(QStringLiteral("set wants NAME=VALUE"));
    return Outcome::done();
}

/** Edits a copy of a node's properties; nothing else is touched before everything is known to be
 * right. */
class Editor
{
public:
    Editor(const QCommandLineParser& options, ENodeType type, const tqgen::PropertySet& properties)
        : m_options(options), m_nodeType(type), m_properties(properties)
    {
    }

    Outcome apply(const Assignment& assignment)
    {
        QStringList path{ assignment.name };
        if (!m_properties.contains(assignment.name))
            path = assignment.name.split(QLatin1Char('/'));
        if (path.first() == QLatin1String("ID") || path.first() == QLatin1String("NodeType"))
            return Outcome::refused(
                QStringLiteral("%1 cannot be changed").arg(quoted(assignment.name)));
        const Outcome outcome = applyIn(m_properties, path, assignment);
        if (outcome.isDone() && !m_edited.contains(path.first()))
            m_edited.append(path.first());
        return outcome;
    }

    /** Refuses passwords that the next save would drop. */
    Outcome checkPasswordsAreKept() const
    {
        for (const QString& name : { k_password, QStringLiteral("ProxyPassword") }) {
            QString flag = name;
            flag.replace(k_password, QStringLiteral("SavePassword"));
            if (flag != QLatin1String("SavePassword"))
                flag = QStringLiteral("SaveProxyPassword");
            const tqgen::BaseProperty* const keeps = m_properties.find(flag);
            if (m_edited.contains(name) && keeps && !keeps->value().toBool())
                return Outcome::refused(
                    QStringLiteral("%1 would not be kept: set %2=yes as well").arg(name, flag));
        }
        return Outcome::done();
    }

    /** Hands the edited properties to `node`; refused when it does not take one of them. */
    Outcome handTo(Node& node) const
    {
        for (const QString& name : m_edited) {
            if (!node.updateField(*m_properties.find(name)))
                return Outcome::refused(QStringLiteral("%1 cannot be changed").arg(quoted(name)));
        }
        return Outcome::done();
    }

    const QStringList& edited() const { return m_edited; }

private:
    Outcome applyIn(tqgen::PropertySet& set, const QStringList& path, const Assignment& assignment)
    {
        tqgen::BaseProperty* const property = set.find(path.first());
        if (!property)
            return Outcome::refused(
                QStringLiteral("the node has no property %1").arg(quoted(assignment.name)));
        QVariant value = property->value();
        const bool isSet = value.metaType() == QMetaType::fromType<tqgen::PropertySet>();
        if (isSet != (path.size() > 1))
            return Outcome::refused(isSet
                    ? QStringLiteral("%1 holds properties: name one of them")
                          .arg(quoted(assignment.name))
                    : QStringLiteral("the node has no property %1").arg(quoted(assignment.name)));
        Outcome outcome;
        if (isSet) {
            auto inner = value.value<tqgen::PropertySet>();
            outcome = applyIn(inner, path.mid(1), assignment);
            value = QVariant::fromValue(inner);
        } else {
            outcome = readValue(path.last(), assignment, value);
            const QString error = outcome.isDone() ? ruleError(assignment.name, value) : QString();
            if (!error.isEmpty())
                outcome = Outcome::refused(error);
        }
        if (outcome.isDone() && !property->setValue(value))
            outcome = Outcome::refused(
                QStringLiteral("%1 does not take that value").arg(quoted(assignment.name)));
        return outcome;
    }

    /** Returns why no property of that name has the value. */
    QString ruleError(const QString& name, const QVariant& value) const
    {
        const bool isFolder = m_nodeType == eRecordingFolderNode && name == QLatin1String("Path");
        return isFolder ? recordingPathError(name, value.toString()) : valueError(name, value);
    }

    /** Reads the value for the property `name`, whose present one is in `value`. */
    Outcome readValue(const QString& name, const Assignment& assignment, QVariant& value)
    {
        const QMetaType type = value.metaType();
        if (!isSecret(name, type)) {
            if (!assignment.text)
                return Outcome::usage(QStringLiteral("%1 wants a value").arg(assignment.name));
            const QString error = valueFromText(name, *assignment.text, type, value);
            return error.isEmpty() ? Outcome::done() : Outcome::refused(error);
        }
        if (assignment.text)
            return Outcome::refused(
                QStringLiteral("%1 is not taken from the command line: give its name alone")
                    .arg(assignment.name));
        QString password;
        const Outcome outcome = readPassword(m_options, assignment.name, password);
        value = password;
        return outcome;
    }

    const QCommandLineParser& m_options;
    ENodeType m_nodeType;
    tqgen::PropertySet m_properties;
    QStringList m_edited;
};

Outcome prepare(
    Invocation& call, Editor& editor, const Node& node, const QList<Assignment>& assignments)
{
    Outcome outcome;
    for (const Assignment& assignment : assignments) {
        if (outcome.isDone())
            outcome = editor.apply(assignment);
    }
    if (outcome.isDone())
        outcome = editor.checkPasswordsAreKept();
    if (!outcome.isDone())
        return outcome;
    // Tried on a copy that nobody sees: once a bracket is open, what it changed stays changed.
    return callNode(call.database(), node, [&] {
        const std::unique_ptr<Node> scratch(node.clone());
        if (!scratch)
            return Outcome::refused(
                QStringLiteral("the node %1 cannot be edited").arg(quoted(node.id())));
        const Outcome taken = editor.handTo(*scratch);
        const QString conflict = taken.isDone() && !call.options().isSet(k_force)
            ? conflictError(call.database(), *scratch, editor.edited())
            : QString();
        return conflict.isEmpty() ? taken : Outcome::refused(conflict);
    });
}

void report(Invocation& call, const tqgen::PropertySet& set, const QStringList& edited)
{
    const QJsonObject properties = shownProperties(set);
    call.output().addItem(properties);
    for (const QString& name : edited) {
        const QJsonValue value = properties[name];
        if (!value.isObject())
            call.output().print(name + QStringLiteral(" = ") + cellText(value));
    }
}

Outcome set(Invocation& call)
{
    const QString id = call.arguments().first();
    QList<Assignment> assignments;
    Outcome outcome = readAssignments(call, assignments);
    if (outcome.isDone())
        outcome = call.open(OpenMode::ReadWrite);
    if (outcome.isDone())
        outcome = call.requireNode(id);
    if (!outcome.isDone())
        return outcome;
    NodeDB& database = call.database();
    tqgen::PropertySet properties;
    const auto read = [&](const Node& node) {
        return callNode(database, node, [&] {
            properties = node.properties();
            return Outcome::done();
        });
    };
    const auto before = database.node(id);
    outcome = read(*before);
    if (!outcome.isDone())
        return outcome;
    Editor editor(call.options(), before->type(), properties);
    outcome = prepare(call, editor, *before, assignments);
    if (!outcome.isDone())
        return outcome;
    outcome = call.edit(id, [&](Node& copy) { return editor.handTo(copy); });
    if (outcome.isDone())
        outcome = call.save();
    const auto after = database.node(id);
    if (outcome.isDone() && !after.null())
        outcome = read(*after);
    if (outcome.isDone())
        report(call, properties, editor.edited());
    return outcome;
}

} // namespace

QList<Command> setCommands()
{
    const auto addOptions = [](QCommandLineParser& parser) {
        addPasswordOptions(parser);
        parser.addOption({ k_force,
            QStringLiteral("Set a MAC, or an address and port, that another node has: channels of "
                           "one recorder share them.") });
    };
    return { { QStringLiteral("set"), QStringLiteral("ID NAME=VALUE…"),
        QStringLiteral("Change properties of a node; all of them or none."), 1,
        Command::k_anyNumber, addOptions, set } };
}

} // namespace tq::cli
