#include "views/quick_render_video_view.h"

#include "views/controls.h"
#include "views/film_picture.h"
#include "views/icons.h"
#include "views/slider.h"
#include "views/tabular_text.h"
#include "views/theme.h"

#include <QBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QStackedLayout>

#include <cmath>
#include <utility>

namespace larkspool {

namespace {

constexpr int belowPicture = 12, transportHeight = 28, playWidth = 32;
constexpr int pictureMilliseconds = 1000 / 60;
constexpr double leap = 1; ///< Seconds, of an arrow with Shift.
constexpr double stepsPerSecond = 1000; ///< Of the scrubber.

QString seconds(double time)
{
    return QString::number(time, 'f', 2) + "s";
}

int stepAt(double time)
{
    return static_cast<int>(std::lround(std::min(time, 1e6) * stepsPerSecond));
}

} // namespace

/// Two times whose digits stay in their places.
class QuickRenderVideoView::TimeLabel final : public QLabel {
public:
    explicit TimeLabel(QWidget* parent) : QLabel(parent)
    {
        setFont(textFont(TextStyle::value));
        setAccessibleName("Time");
    }

    void show(double time, double duration)
    {
        const QString words = seconds(time) + " / " + seconds(duration);
        if (words == text()) return;
        setText(words);
        const QString widest = seconds(duration) + " / " + seconds(duration);
        setFixedWidth(static_cast<int>(std::ceil(tabularWidth(font(), widest))));
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        painter.setFont(font());
        painter.setPen(theme().textSecondary);
        paintTabular(painter, rect(), Qt::AlignRight, text());
    }
};

QuickRenderVideoView::QuickRenderVideoView(Services services, QWidget* parent) : QWidget(parent), services_(std::move(services))
{
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(belowPicture);
    picture_ = new FilmPicture("Film", this);
    column->addWidget(picture_);
    auto* strip = new QWidget(this);
    strip->setFixedHeight(transportHeight);
    below_ = new QStackedLayout(strip);
    auto* writing = new QWidget(strip);
    auto* row = new QHBoxLayout(writing);
    row->setContentsMargins(0, 0, 0, 0);
    bar_ = new ThinProgressBar(writing);
    row->addWidget(bar_, 0, Qt::AlignVCenter);
    below_->addWidget(writing);
    below_->addWidget(buildTransport());
    column->addWidget(strip);
    next_.setTimerType(Qt::PreciseTimer);
    connect(&next_, &QTimer::timeout, this, [this] { follow(); });
    now_.start();
}

QuickRenderVideoView::~QuickRenderVideoView() = default;

QWidget* QuickRenderVideoView::buildTransport()
{
    auto* page = new QWidget(this);
    auto* row = new QHBoxLayout(page);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(8);
    play_ = iconButton("play", "Play", page);
    play_->setFixedWidth(playWidth);
    connect(play_, &QToolButton::clicked, this, [this] { togglePlay(); });
    scrubber_ = new Slider("Position", page);
    connect(scrubber_, &QSlider::sliderPressed, this, [this] {
        resumes_ = isPlaying();
        if (clock_) clock_->pause();
        follow();
    });
    connect(scrubber_, &QSlider::valueChanged, this, [this](int value) { seek(value / stepsPerSecond); });
    connect(scrubber_, &QSlider::sliderReleased, this, [this] {
        if (std::exchange(resumes_, false) && clock_->time() < clock_->duration()) togglePlay();
    });
    times_ = new TimeLabel(page);
    for (QWidget* control : {static_cast<QWidget*>(play_), static_cast<QWidget*>(scrubber_)}) {
        control->setEnabled(false);
        control->installEventFilter(this);
    }
    row->addWidget(play_);
    row->addWidget(scrubber_, 1);
    row->addWidget(times_);
    return page;
}

QWidget* QuickRenderVideoView::firstFocus() const
{
    return scrubber_;
}

void QuickRenderVideoView::setPictureSize(QSize size)
{
    picture_->setFixedSize(size);
}

void QuickRenderVideoView::showRendering(double progress, const LiveFrame& frame)
{
    below_->setCurrentIndex(0);
    bar_->showPart(progress);
    picture_->showFrame(frame);
}

void QuickRenderVideoView::play(const std::string& path)
{
    if (path == path_) return;
    path_ = path;
    below_->setCurrentIndex(1);
    times_->show(0, 0);
    clock_.reset();
    pictures_ = std::make_unique<QuickRenderPictures>(
        path, services_.tasks,
        QuickRenderPictures::Steps{.opened = [this](const QuickRenderPictures::Film& film) { begin(film); },
                                   .arrived = [this](const QuickRenderPictures::Picture& picture) { arrive(picture); }});
}

void QuickRenderVideoView::begin(const QuickRenderPictures::Film& film)
{
    film_ = film;
    if (film.canBeShown) return wishForPicture();
    next_.stop();
    clock_.reset();
    play_->setEnabled(false);
    scrubber_->setEnabled(false);
    services_.unreadable();
}

void QuickRenderVideoView::arrive(const QuickRenderPictures::Picture& picture)
{
    shown_ = std::pair(picture.start, picture.end);
    picture_->showPicture(picture.image);
    if (clock_) return;
    // The sound does not begin before the first picture.
    clock_ = std::make_unique<QuickRenderClock>(film_.duration, services_.loadSound(path_),
                                                [this] { return static_cast<double>(now_.nsecsElapsed()) * 1e-9; });
    play_->setEnabled(true);
    scrubber_->setEnabled(true);
    scrubber_->setRange(0, std::max(stepAt(clock_->duration()), 1));
    scrubber_->setPageStep(static_cast<int>(leap * stepsPerSecond));
    togglePlay();
    services_.begun();
}

void QuickRenderVideoView::togglePlay()
{
    if (!clock_) return;
    isPlaying() ? clock_->pause() : clock_->play();
    follow();
}

void QuickRenderVideoView::seek(double time)
{
    if (!clock_) return;
    clock_->seek(time);
    follow();
}

void QuickRenderVideoView::follow()
{
    if (!clock_) return;
    const double time = clock_->advance();
    if (!isPlaying())
        next_.stop();
    else if (!next_.isActive())
        next_.start(pictureMilliseconds);
    const QString name = isPlaying() ? "Pause" : "Play";
    if (play_->accessibleName() != name || play_->icon().isNull()) {
        play_->setIcon(buttonIcon(isPlaying() ? "pause" : "play"));
        play_->setAccessibleName(name);
        play_->setToolTip(name + "  Space");
    }
    {
        const QSignalBlocker blocker(scrubber_);
        scrubber_->setValue(stepAt(time));
    }
    scrubber_->update();
    times_->show(time, clock_->duration());
    if (!shown_ || time < shown_->first || time >= shown_->second) wishForPicture();
}

void QuickRenderVideoView::wishForPicture()
{
    if (pictures_) pictures_->wish(time(), picture_->room(), devicePixelRatioF());
}

/// In the middle of the picture that is so many after the one on show: safe from the rounding of its ends.
double QuickRenderVideoView::pictureTime(int later) const
{
    const double interval = film_.frameInterval, last = std::max(std::round(clock_->duration() / interval) - 1, 0.0);
    const double index = std::min(std::floor(clock_->time() / interval + 0.01), last) + later;
    return (index + 0.5) * interval;
}

bool QuickRenderVideoView::takeKey(int key, bool isShifted)
{
    if (!clock_) return false;
    const auto go = [this](double time) {
        seek(time);
        return true;
    };
    const auto goOn = [this, isShifted](int way) {
        if (isShifted) {
            seek(clock_->time() + way * leap);
        } else {
            clock_->pause();
            seek(pictureTime(way));
        }
        return true;
    };
    switch (key) {
    case Qt::Key_Space: togglePlay(); return true;
    case Qt::Key_Left:
    case Qt::Key_Down: return goOn(-1);
    case Qt::Key_Right:
    case Qt::Key_Up: return goOn(1);
    case Qt::Key_Home: return go(0);
    case Qt::Key_End: return go(clock_->duration());
    default: return false;
    }
}

bool QuickRenderVideoView::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() != QEvent::KeyPress) return QWidget::eventFilter(watched, event);
    const auto* key = static_cast<QKeyEvent*>(event);
    return takeKey(key->key(), key->modifiers().testFlag(Qt::ShiftModifier)) || QWidget::eventFilter(watched, event);
}

void QuickRenderVideoView::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton && picture_->geometry().contains(event->position().toPoint())) togglePlay();
}

void QuickRenderVideoView::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    if (shown_) wishForPicture();
}

} // namespace larkspool
