#ifndef TESTS_SUPPORT_BLANKED_NODES_H
#define TESTS_SUPPORT_BLANKED_NODES_H
#include <cstring>
#include <utility>
#include <vector>

/// Nodes that must not be visited while this lives: their links are null, and whoever follows one does not get far.
template <typename Node>
class CBlankedNodes
{
public:
    explicit CBlankedNodes(std::vector<Node*> nodes) : m_nodes(std::move(nodes))
    {
        for (Node* const pNode : m_nodes)
        {
            m_saved.push_back(*pNode);
            std::memset(static_cast<void*>(pNode), 0, sizeof(Node));
        }
    }
    CBlankedNodes(const CBlankedNodes&) = delete;
    CBlankedNodes& operator=(const CBlankedNodes&) = delete;
    ~CBlankedNodes()
    {
        for (std::size_t u = 0; u < m_nodes.size(); ++u) *m_nodes[u] = m_saved[u];
    }

private:
    std::vector<Node*> m_nodes;
    std::vector<Node> m_saved;
};

#endif
