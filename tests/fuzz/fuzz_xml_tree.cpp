// Takes bytes as operations on trees of XML nodes and does the same to a model. Afterwards the trees are
// those of the model, what is written is read back, and what is let go of leaves the others as they were.
#include "FuzzTarget.h"

#include "MivoXmlNode.h"

#include <algorithm>
#include <vector>

namespace {

const std::size_t mostNodes = 100; // fewer levels than can be read

struct ModelNode
{
    QString name;
    int parent;
    std::vector<int> children;
};

/** The bytes of the input one after the other, and zeros behind them. */
class Input
{
public:
    Input(const unsigned char* inputData, size_t inputSize)
        : data(inputData)
        , left(inputSize)
    {
    }
    bool isAtEnd() const { return left == 0; }
    unsigned next()
    {
        if (left == 0)
            return 0;
        --left;
        return *data++;
    }
    QString text()
    {
        QString result;
        for (unsigned length = next() % 8; length > 0; --length)
            result.append(QChar(ushort(next() | next() << 8)));
        return result;
    }

private:
    const unsigned char* data;
    size_t left;
};

class Trees
{
public:
    void add(int parent, const QString& name)
    {
        const bool isName = name != QLatin1String("-");
        MivoXmlNode node
            = parent < 0 ? MivoXmlNode(name) : nodes.at(std::size_t(parent)).addChild(name);
        require(node.isNull() != isName, "an element has an XML name");
        if (!isName)
            return;
        if (parent >= 0)
            model.at(std::size_t(parent)).children.push_back(int(nodes.size()));
        nodes.push_back(node);
        model.push_back({name, parent, {}});
    }

    void append(int parent, int child)
    {
        nodes.at(std::size_t(parent)).appendChild(nodes.at(std::size_t(child)));
        for (int above = parent; above >= 0; above = model.at(std::size_t(above)).parent) {
            if (above == child)
                return;
        }
        ModelNode& moved = model.at(std::size_t(child));
        if (moved.parent >= 0) {
            std::vector<int>& left = model.at(std::size_t(moved.parent)).children;
            left.erase(std::find(left.begin(), left.end(), child));
        }
        moved.parent = parent;
        model.at(std::size_t(parent)).children.push_back(child);
    }

    void check() const
    {
        for (std::size_t i = 0; i < nodes.size(); ++i) {
            const QList<MivoXmlNode> children = nodes[i].getChildNodes();
            require(nodes[i].name() == model[i].name, "a name stays");
            require(std::size_t(children.size()) == model[i].children.size(),
                    "a node has the children that it was given");
            for (int j = 0; j < int(children.size()); ++j)
                require(children.at(j) == nodes[std::size_t(model[i].children[std::size_t(j)])],
                        "children stand in their order");
            if (model[i].parent >= 0)
                continue;
            for (const int indent : {-1, 2}) {
                const QByteArray written = nodes[i].toXml(indent);
                require(MivoXmlNode::parse(written).toXml(indent) == written,
                        "what is written is read back");
            }
        }
    }

    /** Lets go of the handles from the one at @p first on; whose node is a root lives on. */
    void letGo(std::size_t first)
    {
        while (nodes.size() > 1) {
            nodes.erase(nodes.begin() + std::ptrdiff_t(first % nodes.size()));
            first = first * 7 + 3;
            for (const MivoXmlNode& node : nodes)
                require(!node.isNull() && !node.toXml().isEmpty(), "a node lives with its handle");
        }
    }

    std::vector<MivoXmlNode> nodes;
    std::vector<ModelNode> model;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size)
{
    const char* const names[] = {"a", "b", "long-name", "p:q", "\xc3\xa4", "-", "_", "x1"};
    Input input(data, size);
    Trees trees;
    trees.add(-1, QString::fromLatin1("root"));
    const std::size_t last = size ? data[size - 1] : 0;
    // An attribute that is in another's place moves those behind it; each is written once at most.
    requireFewAllocations(size, 20, 20, [&] {
        while (!input.isAtEnd() && trees.nodes.size() < mostNodes) {
            const unsigned operation = input.next() % 6;
            const int node = int(input.next() % trees.nodes.size());
            const QString name = QString::fromUtf8(names[input.next() % 8]);
            switch (operation) {
            case 0:
                trees.add(-1, name);
                break;
            case 1:
                trees.add(node, name);
                break;
            case 2:
            case 3:
                trees.append(node, int(input.next() % trees.nodes.size()));
                break;
            case 4:
                trees.nodes.at(std::size_t(node)).setAttribute(name, input.text());
                break;
            default:
                trees.nodes.at(std::size_t(node)).insertData(input.text());
            }
        }
    });
    trees.check();
    trees.letGo(last);
    return 0;
}
