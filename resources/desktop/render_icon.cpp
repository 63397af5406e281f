// SPDX-License-Identifier: MIT
// Renders the program's icon to a PNG file of a given size, for the installation.
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>
#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fputs("usage: render_icon ICON.svg SIDE PICTURE.png\n", stderr);
        return 2;
    }
    const int side = std::atoi(argv[2]);
    QSvgRenderer icon(QString::fromLocal8Bit(argv[1]));
    QImage picture(side, side, QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::transparent);
    {
        QPainter painter(&picture);
        painter.setRenderHint(QPainter::Antialiasing);
        icon.render(&painter, picture.rect());
    }
    if (icon.isValid() && picture.save(QString::fromLocal8Bit(argv[3]), "PNG")) return 0;
    std::fprintf(stderr, "render_icon: cannot draw %s into %s\n", argv[1], argv[3]);
    return 1;
}
