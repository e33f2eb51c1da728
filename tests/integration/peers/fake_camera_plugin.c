/* A GStreamer device provider that offers one live test-pattern source as a "Video/Source" device, so
 * that Qt Multimedia lists a camera on machines without one. Loaded through GST_PLUGIN_PATH. */
#define PACKAGE "halcy"
#include <gst/gst.h>

#define FAKE_TYPE_DEVICE (fake_device_get_type())
G_DECLARE_FINAL_TYPE(FakeDevice, fake_device, FAKE, DEVICE, GstDevice)
struct _FakeDevice { GstDevice parent; };
G_DEFINE_TYPE(FakeDevice, fake_device, GST_TYPE_DEVICE)

static GstElement *fake_device_create_element(GstDevice *device G_GNUC_UNUSED, const gchar *name)
{
    /* A moving ball: every frame differs from the last, as a camera's do. */
    GstElement *source = gst_element_factory_make("videotestsrc", name);
    if (source)
        g_object_set(source, "is-live", TRUE, "pattern", 18 /* ball */, NULL);
    return source;
}

static void fake_device_class_init(FakeDeviceClass *klass)
{
    GST_DEVICE_CLASS(klass)->create_element = fake_device_create_element;
}

static void fake_device_init(FakeDevice *self G_GNUC_UNUSED) {}

#define FAKE_TYPE_PROVIDER (fake_provider_get_type())
G_DECLARE_FINAL_TYPE(FakeProvider, fake_provider, FAKE, PROVIDER, GstDeviceProvider)
struct _FakeProvider { GstDeviceProvider parent; };
G_DEFINE_TYPE(FakeProvider, fake_provider, GST_TYPE_DEVICE_PROVIDER)

static GList *fake_provider_probe(GstDeviceProvider *provider G_GNUC_UNUSED)
{
    GstCaps *caps = gst_caps_from_string("video/x-raw, format=(string)YUY2, width=(int)640, height=(int)480, "
                                         "framerate=(fraction)30/1");
    GstStructure *props = gst_structure_new("fake-camera-properties", "device.path", G_TYPE_STRING,
                                            "fake-camera-0", NULL);
    GstDevice *device = g_object_new(FAKE_TYPE_DEVICE, "display-name", "Halcy Test Camera", "device-class",
                                     "Video/Source", "caps", caps, "properties", props, NULL);
    gst_caps_unref(caps);
    gst_structure_free(props);
    return g_list_append(NULL, gst_object_ref_sink(device));
}

static void fake_provider_class_init(FakeProviderClass *klass)
{
    GST_DEVICE_PROVIDER_CLASS(klass)->probe = fake_provider_probe;
    gst_device_provider_class_set_static_metadata(GST_DEVICE_PROVIDER_CLASS(klass), "Halcy test camera",
                                                  "Source/Video", "One test-pattern camera",
                                                  "Halcy developers");
}

static void fake_provider_init(FakeProvider *self G_GNUC_UNUSED) {}

static gboolean plugin_init(GstPlugin *plugin)
{
    return gst_device_provider_register(plugin, "halcyfakecamera", GST_RANK_PRIMARY, FAKE_TYPE_PROVIDER);
}

GST_PLUGIN_DEFINE(GST_VERSION_MAJOR, GST_VERSION_MINOR, halcyfakecamera, "Test camera for Halcy's tests", plugin_init,
                  "1.0", "LGPL", "halcy", "halcy")
