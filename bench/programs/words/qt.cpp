// examples/words with Qt.
#include <QByteArray>
#include <QFile>
#include <QMap>
#include <QTextStream>
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <vector>

using Counts = QMap<QByteArray, long>;

void countWords(const QByteArray& line, Counts& counts)
{
    const auto isInWord = [](unsigned char uc) { return std::isalnum(uc) != 0; };
    for (auto it = std::find_if(line.begin(), line.end(), isInWord); it != line.end();)
    {
        const auto end = std::find_if_not(it, line.end(), isInWord);
        ++counts[QByteArray(it, static_cast<int>(end - it))];
        it = std::find_if(end, line.end(), isInWord);
    }
}

void printMostFrequent(const Counts& counts, QTextStream& out)
{
    std::vector<Counts::const_iterator> ranking;
    for (auto it = counts.begin(); it != counts.end(); ++it) ranking.push_back(it);
    const auto end = ranking.begin() + std::min(20, counts.size());
    std::partial_sort(
        ranking.begin(), end, ranking.end(),
        [](const auto& first, const auto& second)
        { return first.value() != second.value() ? first.value() > second.value() : first.key() < second.key(); });
    for (auto it = ranking.begin(); it != end; ++it)
        out << QString::asprintf("%8ld ", it->value()) << it->key() << '\n';
    out << counts.size() << " words\n";
}

int main()
{
    QFile in;
    if (!in.open(stdin, QIODevice::ReadOnly))
    {
        std::fprintf(stderr, "words: %s\n", qPrintable(in.errorString()));
        return 1;
    }
    Counts counts;
    while (true)
    {
        const QByteArray line = in.readLine();
        if (line.isEmpty()) break;
        countWords(line, counts);
    }
    if (in.error() != QFileDevice::NoError)
    {
        std::fprintf(stderr, "words: %s\n", qPrintable(in.errorString()));
        return 1;
    }
    QTextStream out(stdout);
    printMostFrequent(counts, out);
    out.flush();
    return out.status() == QTextStream::Ok ? 0 : 1;
}
