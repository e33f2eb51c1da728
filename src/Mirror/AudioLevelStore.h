#pragma once

#include <QList>
#include <QMutex>

// The one number the audio thread hands to the GUI thread.
class AudioLevelStore
{
public:
    // Average power of each channel in dBFS. -50 dB and quieter reads 0, 0 dB reads 1, linear in
    // between; a buffer without channels leaves the previous level.
    void recordPowers(const QList<float> &channelPowers)
    {
        if (channelPowers.isEmpty())
            return;
        float sum = 0;
        for (const float power : channelPowers)
            sum += power;
        const float average = sum / float(channelPowers.size());
        double level = (double(average) + 50.0) / 50.0;
        if (level <= 0)
            level = 0;
        else if (level > 1)
            level = 1;
        set(level);
    }

    void set(double level)
    {
        QMutexLocker locker(&m_mutex);
        m_level = level;
    }

    double level() const
    {
        QMutexLocker locker(&m_mutex);
        return m_level;
    }

private:
    mutable QMutex m_mutex;
    double m_level = 0;
};
